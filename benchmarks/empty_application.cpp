// The least that a Qt program can be: a peer of bench_start.
#include <QCoreApplication>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::processEvents();
    return 0;
}
