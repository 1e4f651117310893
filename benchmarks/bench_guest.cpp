// What the library adds to every event of an application while it serves: one event filter.
#include "Measure.h"
#include "OnDeviceStrings.h"
#include "SampleStrings.h"

#include <QEvent>

namespace {

constexpr int eventsInARound = 500'000;

class Receiver : public QObject
{
public:
    int received = 0;

protected:
    bool event(QEvent *event) override
    {
        received += event->type() == QEvent::User;
        return true;
    }
};

// The least that an event filter can do.
class IntegerFilter : public QObject
{
protected:
    bool eventFilter(QObject *, QEvent *event) override { return event->type() == QEvent::LanguageChange; }
};

void sendEvents(Receiver &receiver)
{
    QEvent event(QEvent::User);
    for (int i = 0; i < eventsInARound; ++i)
        QCoreApplication::sendEvent(&receiver, &event);
}

void measure(Measure::Report &report)
{
    const OnDeviceStrings device(SampleStrings::xliff(SampleStrings::make(200)));
    Receiver receiver;
    IntegerFilter filter;
    const auto send = [&receiver] { sendEvents(receiver); };
    const auto nobody = [&filter] {
        OnDeviceStrings::takeOut();
        QCoreApplication::instance()->removeEventFilter(&filter);
    };
    report.section("one event sent to an object", Measure::NanosecondsEach);
    const auto results = report.run({
        {"the library serves", send, eventsInARound,
         [&] {
             nobody();
             OnDeviceStrings::putIn();
             OnDeviceStrings::start();
             QCoreApplication::processEvents();
         }},
        {"an event filter that compares one integer", send, eventsInARound,
         [&] {
             nobody();
             QCoreApplication::instance()->installEventFilter(&filter);
         }},
        {"no event filter", send, eventsInARound, nobody},
    });
    report.check(receiver.received == 3 * (report.rounds() + 1) * eventsInARound, "every event arrives");
    report.goalAtMost("at most 2 ns more than a filter that compares one integer",
                      results[0].median - results[1].median, 2);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    Measure::Report report("what every event pays", argc, argv);
    measure(report);
    return report.finish();
}
