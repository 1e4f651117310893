// ProjectAccess: who may sign in to the platform of a project folder, and for how long.
#pragma once

#include <QList>
#include <QString>

class JsonMembers;

// What somebody may do with the strings of a workflow step.
struct StepPermissions
{
    bool canTranslate = true;
    bool canSubmit = true;
    bool canReject = true;

    static StepPermissions fromJson(JsonMembers &members);
};

struct ProjectUser
{
    QString user;
    QString password;
    QString name;
    QString email;
    StepPermissions permissions; // in every step that allows the same
};

// What an application signs in with that has no user.
struct ApiCredential
{
    QString userIdentifier;
    QString userSecret;
};

// In seconds; a token of none or less has expired when it is given out.
struct TokenLifetimes
{
    qint64 accessSeconds = 300;
    qint64 refreshSeconds = qint64(30) * 86400;
    qint64 codeSeconds = 60;
    bool rotateRefresh = false; // a refresh token is good for one use
};

struct ProjectAccess
{
    QList<ProjectUser> users; // no two of one name
    QList<ApiCredential> apiCredentials;
    TokenLifetimes tokens;

    // Null when there is none.
    const ProjectUser *userNamed(const QString &name) const;
    const ApiCredential *credentialOf(const QString &userIdentifier) const;

    // The members "users", "apiCredentials" and "tokens" of project.json.
    static ProjectAccess fromJson(JsonMembers &members);
};
