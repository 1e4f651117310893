#include "HeadlessTools.h"

#include <DVMainQueue.h>

HeadlessTools::HeadlessTools(std::function<void(const QJsonObject &)> event)
    : m_event(std::move(event))
{}

void HeadlessTools::openLoginForm(std::function<void(bool)> completion)
{
    m_event({{QStringLiteral("event"), QStringLiteral("loginForm")}});
    DVMainQueue::post([then = std::move(completion)] { then(true); });
}

void HeadlessTools::captureWindow(QObject *, std::function<void(const DVErrorOr &)> completion)
{
    const DVError error{QStringLiteral("dorvane.SDK"), 500, QStringLiteral("There is no window")};
    DVMainQueue::post([error, then = std::move(completion)] { then(error); });
}
