// DVTranslatorPlace: keeps the library's translator the first that Qt asks.
#pragma once

#include <QObject>
#include <QTranslator>

#include <memory>

// Answers from the published snapshot; always says that it is empty, so that installing it sends no
// LanguageChange. Any thread.
class DVTranslator : public QTranslator
{
    Q_OBJECT

public:
    using QTranslator::QTranslator;
    bool isEmpty() const override { return true; }
    QString translate(const char *context, const char *sourceText, const char *disambiguation,
                      int n) const override;
};

// One per application object; main thread. It is also the one event filter on the application.
class DVTranslatorPlace : public QObject
{
    Q_OBJECT

public:
    DVTranslatorPlace();
    ~DVTranslatorPlace() override;

    // Qt asks the translator installed last first. Installs a fresh one in front and removes the
    // one before, so that lookups on other threads never find none.
    void moveToFront();

    // Posts QEvent::LanguageChange to the application, unless one is pending. Returns whether it did.
    bool announceChange();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void comeFirst();
    bool filterChange(QObject *watched, QEvent *event);

    std::unique_ptr<DVTranslator> m_translator;
    bool m_pending = false; // an announcement is posted and not yet delivered
    bool m_swallow = false; // the event that Qt sends for our own removal
};
