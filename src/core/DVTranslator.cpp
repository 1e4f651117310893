#include "DVTranslator.h"

#include "DVDevice.h"
#include "DVLookup.h"

#include <Dorvane/DVNotificationCenter.h>
#include <Dorvane/Dorvane.h>

#include <QCoreApplication>
#include <QEvent>

#include <utility>

namespace {

// Ours, so that the filter can tell it from the host's. The event queue may merge it into one that
// the host posted: then the filter sees the host's, and moves the translator to the front once more.
class PublicationEvent : public QEvent
{
public:
    PublicationEvent()
        : QEvent(QEvent::LanguageChange)
    {}
    PublicationEvent *clone() const override { return new PublicationEvent(*this); }
};

} // namespace

QString DVTranslator::translate(const char *context, const char *sourceText, const char *disambiguation,
                                int n) const
{
    return DVLookup::translation(context, sourceText, disambiguation, n);
}

DVTranslatorPlace::DVTranslatorPlace()
{
    moveToFront();
}

DVTranslatorPlace::~DVTranslatorPlace()
{
    comeFirst();
    m_swallow = true;
    QCoreApplication::removeTranslator(m_translator.get());
    if (auto *application = QCoreApplication::instance())
        application->removeEventFilter(this);
}

// Before filters that the host installed since, so that none of them sees the event that we swallow.
void DVTranslatorPlace::comeFirst()
{
    if (auto *application = QCoreApplication::instance())
        application->installEventFilter(this);
}

void DVTranslatorPlace::moveToFront()
{
    comeFirst();
    auto front = std::make_unique<DVTranslator>();
    QCoreApplication::installTranslator(front.get());
    if (m_translator) {
        m_swallow = true;
        QCoreApplication::removeTranslator(m_translator.get());
        m_swallow = false;
    }
    m_translator = std::move(front);
}

bool DVTranslatorPlace::announceChange()
{
    if (std::exchange(m_pending, true))
        return false;
    QCoreApplication::postEvent(QCoreApplication::instance(), new PublicationEvent);
    return true;
}

bool DVTranslatorPlace::eventFilter(QObject *watched, QEvent *event)
{
    // Every event of the main thread passes here: one comparison for the two, and a function without a frame.
    static_assert(QEvent::LanguageChange == QEvent::LocaleChange + 1);
    if (unsigned(event->type()) - unsigned(QEvent::LocaleChange) > 1)
        return false;
    return filterChange(watched, event);
}

Q_NEVER_INLINE bool DVTranslatorPlace::filterChange(QObject *watched, QEvent *event)
{
    if (watched != QCoreApplication::instance())
        return false;
    if (event->type() == QEvent::LocaleChange) {
        DVNotificationCenter::defaultCenter().postNotification(DVCurrentLocaleDidChangeNotification, watched);
        return false;
    }
    if (m_swallow)
        return true;
    // Ours, or one that the event queue merged it into, or one of the host's that comes before it.
    const bool announced = std::exchange(m_pending, false);
    // The host installed or removed a translator: ours goes to the front before anybody asks again.
    if (!dynamic_cast<PublicationEvent *>(event))
        moveToFront();
    if (announced)
        Q_EMIT Dorvane::notifier()->textsChanged();
    return false;
}
