// A host application for translators that knows nothing but what is installed. It names nothing of the
// library of review and has its tools all the same. With an argument it names the marks of the interface,
// too.
#include <Dorvane/DVDiagnostics.h>
#include <Dorvane/Dorvane.h>
#ifdef NAMES_THE_LIBRARY
#include <Dorvane/DVReview.h>
#include <Dorvane/DVViewWithText.h>
#endif

#include <QApplication>

#include <cstdio>

namespace {

#ifdef NAMES_THE_LIBRARY
class Chart : public DVViewWithText
{
public:
    void dorvaneUpdateText(const QString &, const QString &) override {}
    void dorvaneUpdateAttributedText(const QString &, const QString &) override {}
};

bool nothingWasDoneYet()
{
    Chart chart;
    chart.dorvaneUpdateText({}, {});
    return !dv_success && !dv_disclosure && !dv_logo;
}
#else
bool nothingWasDoneYet()
{
    return true;
}
#endif

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    const bool untouched = nothingWasDoneYet();
    Dorvane::startWithProjectId(QStringLiteral("consumer"),
                                {{QStringLiteral("mode"), QStringLiteral("DVInAppReview")},
                                 {QStringLiteral("logging"), QStringLiteral("off")},
                                 {QStringLiteral("analytics"), false}});
    const DVDiagnostics state = Dorvane::diagnostics();
    std::printf("%s %s\n", state.textsAreMarked ? "reviewing" : qPrintable(state.startInWords),
                untouched ? "untouched" : "touched");
    return 0;
}
