#include "ProjectAccess.h"

#include "JsonMembers.h"

#include <algorithm>

namespace {

constexpr qint64 longestLifetime = qint64(10) * 366 * 86400; // seconds

ProjectUser userFromJson(JsonMembers &members)
{
    ProjectUser user;
    user.user = members.requiredText("user");
    user.password = members.requiredText("password");
    user.name = members.text("name", user.user);
    user.email = members.text("email");
    QString error;
    JsonMembers permissions(members.object("permissions"), &error);
    user.permissions = StepPermissions::fromJson(permissions);
    if (!error.isEmpty())
        members.complain("permissions", error);
    return user;
}

TokenLifetimes lifetimesFromJson(JsonMembers &members)
{
    TokenLifetimes tokens;
    tokens.accessSeconds = members.integer("accessSeconds", tokens.accessSeconds, longestLifetime);
    tokens.refreshSeconds = members.integer("refreshSeconds", tokens.refreshSeconds, longestLifetime);
    tokens.codeSeconds = members.integer("codeSeconds", tokens.codeSeconds, longestLifetime);
    tokens.rotateRefresh = members.flag("rotateRefresh", tokens.rotateRefresh);
    return tokens;
}

template<typename List, typename Name>
auto found(const List &list, Name name, const QString &wanted) -> decltype(&*list.begin())
{
    const auto at = std::find_if(list.begin(), list.end(),
                                 [&](const auto &candidate) { return candidate.*name == wanted; });
    return at == list.end() ? nullptr : &*at;
}

} // namespace

StepPermissions StepPermissions::fromJson(JsonMembers &members)
{
    StepPermissions permissions;
    permissions.canTranslate = members.flag("canTranslateStrings", permissions.canTranslate);
    permissions.canSubmit = members.flag("canSubmitStrings", permissions.canSubmit);
    permissions.canReject = members.flag("canRejectStrings", permissions.canReject);
    return permissions;
}

const ProjectUser *ProjectAccess::userNamed(const QString &name) const
{
    return found(users, &ProjectUser::user, name);
}

const ApiCredential *ProjectAccess::credentialOf(const QString &userIdentifier) const
{
    return found(apiCredentials, &ApiCredential::userIdentifier, userIdentifier);
}

ProjectAccess ProjectAccess::fromJson(JsonMembers &members)
{
    ProjectAccess access;
    members.eachObject("users", [&access](JsonMembers &entry) {
        const ProjectUser user = userFromJson(entry);
        if (access.userNamed(user.user))
            entry.complain("user", QStringLiteral("is there twice"));
        access.users.append(user);
    });
    members.eachObject("apiCredentials", [&access](JsonMembers &entry) {
        const ApiCredential credential{entry.requiredText("userIdentifier"),
                                       entry.requiredText("userSecret")};
        if (access.credentialOf(credential.userIdentifier))
            entry.complain("userIdentifier", QStringLiteral("is there twice"));
        access.apiCredentials.append(credential);
    });
    QString error;
    JsonMembers tokens(members.object("tokens"), &error);
    access.tokens = lifetimesFromJson(tokens);
    if (!error.isEmpty())
        members.complain("tokens", error);
    return access;
}
