// Replaces a strings file again and again until it is killed: delivery_save_probe PATH.
#include "DVData.h"
#include "DVNetwork.h"
#include "DVState.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QString path = QString::fromLocal8Bit(argv[1]);
    const QString key = QString::fromLatin1(QByteArray(16, 'k').toBase64());
    DVState::shared().setAesKey(key);
    DVState::shared().analyticsEnabled = false;
    const QByteArray bodies[] = {dv_encryptAESWithKey(QByteArray(300000, 'a'), key),
                                 dv_encryptAESWithKey(QByteArray(400000, 'b'), key)};
    DVHttpResponse response;
    response.statusCode = 200;
    std::puts("saving");
    std::fflush(stdout);
    const int rounds = argc > 2 ? QByteArray(argv[2]).toInt() : 1000000;
    for (int i = 1; i <= rounds; ++i) {
        if (DVNetwork::saveStringsFileFromData(bodies[i % 2], path, response, {}, nullptr, nullptr))
            return 1;
        QFile::remove(dv_previousFilePath(path)); // as its first good parse does
    }
    return 0;
}
