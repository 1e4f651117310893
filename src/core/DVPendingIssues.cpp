#include "DVPendingIssues.h"

#include "DVState.h"
#include "DVUserDefaults.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>

namespace {

using Issue = DVPendingIssues::Issue;

const QString defaultsKey = QStringLiteral("DVPendingIssues");
const QString listName = QStringLiteral("issues");

struct Member
{
    QLatin1StringView name;
    QString Issue::*text;
};
constexpr Member members[] = {
    {QLatin1StringView("project"), &Issue::project}, {QLatin1StringView("locale"), &Issue::locale},
    {QLatin1StringView("key"), &Issue::key},         {QLatin1StringView("uid"), &Issue::uid},
    {QLatin1StringView("reason"), &Issue::reason},   {QLatin1StringView("description"), &Issue::description},
};

QList<Issue> stored()
{
    QList<Issue> issues;
    const auto saved = DVUserDefaults::standard().objectForKey(defaultsKey);
    const QJsonArray list = saved ? saved->value(listName).toArray() : QJsonArray();
    for (const auto &entry : list) {
        const QJsonObject object = entry.toObject();
        Issue issue;
        for (const Member &member : members)
            issue.*member.text = object.value(member.name).toString();
        issues.append(issue);
    }
    return issues;
}

void store(const QList<Issue> &issues)
{
    if (issues.isEmpty())
        return DVUserDefaults::standard().removeKey(defaultsKey);
    QJsonArray list;
    for (const Issue &issue : issues) {
        QJsonObject entry;
        for (const Member &member : members)
            entry.insert(member.name, issue.*member.text);
        list.append(entry);
    }
    DVUserDefaults::standard().setObject(defaultsKey, {{listName, list}});
}

bool isOfNow(const Issue &issue)
{
    const auto &state = DVState::shared();
    return issue.project == state.appId() && issue.locale == state.currentLocaleIdentifier();
}

} // namespace

DVStringGroupPtr DVPendingIssues::Issue::string() const
{
    auto form = std::make_shared<DVString>();
    form->key = key;
    form->uid = uid;
    auto group = std::make_shared<DVStringGroup>();
    group->addStringForm(form);
    group->status = DVStringStatusRejected;
    group->rejectReason = reason;
    group->rejectDescription = description;
    return group;
}

QList<DVPendingIssues::Issue> DVPendingIssues::all()
{
    QList<Issue> issues = stored();
    issues.removeIf([](const Issue &issue) { return !isOfNow(issue); });
    return issues;
}

void DVPendingIssues::add(const QList<DVStringGroupPtr> &strings, const DVLocale &ofLocale)
{
    if (strings.isEmpty())
        return;
    QList<Issue> issues = stored();
    const QString project = DVState::shared().appId();
    const QString locale = ofLocale.identifier();
    for (const auto &string : strings) {
        issues.removeIf([&](const Issue &issue) {
            return issue.project == project && issue.locale == locale && issue.key == string->key;
        });
        issues.append(
            {project, locale, string->key, string->uid(), string->rejectReason, string->rejectDescription});
    }
    store(issues);
}

void DVPendingIssues::remove(const Issue &issue)
{
    QList<Issue> issues = stored();
    if (issues.removeAll(issue) > 0)
        store(issues);
}

void DVPendingIssues::clear()
{
    store({});
}

bool DVPendingIssues::isWorthAnotherTry(const DVError &error)
{
    constexpr int unauthorized = 401;
    constexpr int requestTimeout = 408;
    constexpr int tooManyRequests = 429;
    constexpr int firstClientError = 400;
    constexpr int firstServerError = 500;
    if (error.domain == QLatin1StringView("dorvane.SDK"))
        return error.code == unauthorized; // anything else is about the string itself
    if (error.code < firstClientError || error.code >= firstServerError)
        return true;
    return error.code == unauthorized || error.code == requestTimeout || error.code == tooManyRequests;
}
