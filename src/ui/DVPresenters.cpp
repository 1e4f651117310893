#include "DVPresenters.h"

#include "DVLog.h"
#include "DVMainQueue.h"

#include <utility>

namespace {

// Once for each kind: who presses again need not read it again.
class Missing
{
public:
    explicit Missing(QString message)
        : m_message(std::move(message))
    {}
    const QString &say()
    {
        if (!std::exchange(m_said, true))
            dv_logInfo(m_message);
        return m_message;
    }

private:
    const QString m_message;
    bool m_said = false;
};

class NoEdition : public DVEditionPresenter
{
public:
    void presentEditionViewWithStringsAndViews(const QList<DVViewStringsPtr> &, const DVViewPtr &, QObject *,
                                               bool) override
    {
        m_missing.say();
    }
    void dismiss() override {}

private:
    Missing m_missing{QStringLiteral("Warning: the editor of strings is not built yet")};
};

class NoActions : public DVActionsPresenter
{
public:
    void showAndReloadStrings(bool) override { m_missing.say(); }

private:
    Missing m_missing{QStringLiteral("Warning: the menu is not built yet")};
};

class NoLogin : public DVLoginPresenter
{
public:
    void openLoginFormWithCompletion(std::function<void(bool)> completion) override
    {
        m_missing.say();
        DVMainQueue::post([then = std::move(completion)] { then(true); });
    }

private:
    Missing m_missing{QStringLiteral("Warning: the login screen is not built yet")};
};

class NoCapture : public DVCapturePresenter
{
public:
    void captureWindow(QObject *, std::function<void(const DVErrorOr &)> withCompletion) override
    {
        const DVError error{QStringLiteral("dorvane.SDK"), 500, m_missing.say()};
        DVMainQueue::post([error, then = std::move(withCompletion)] { then(error); });
    }

private:
    Missing m_missing{QStringLiteral("Warning: screenshots are not built yet")};
};

} // namespace

DVPresenters::DVPresenters()
    : edition(std::make_unique<NoEdition>())
    , actions(std::make_unique<NoActions>())
    , login(std::make_unique<NoLogin>())
    , capture(std::make_unique<NoCapture>())
{}

DVPresenters &DVPresenters::shared()
{
    static DVPresenters &presenters = *new DVPresenters; // never destroyed: hosts may end in any order
    return presenters;
}
