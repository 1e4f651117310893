// SessionCommands: who is signed in, and which locale and step are worked in.
#pragma once

#include "TryHandlers.h"

#include <QObject>

#include <memory>

class DVReviewChoices;

class SessionCommands : public QObject
{
    Q_OBJECT

public:
    SessionCommands(TryLines lines, QObject *parent);
    ~SessionCommands() override;

    // projectLocales, signIn, signOut, workflows, useStep, useLocale, pull.
    TryHandlers handlers();

private:
    using Reply = std::optional<QJsonObject>;

    Reply projectLocales();
    Reply signIn(JsonMembers &members);
    Reply signOut();
    Reply workflows(JsonMembers &members);
    Reply useStep(JsonMembers &members);
    Reply useLocale(JsonMembers &members);
    Reply pull(JsonMembers &members);

    void takeCode(const QString &code);

    const TryLines m_lines;
    const std::shared_ptr<DVReviewChoices> m_choices;
};
