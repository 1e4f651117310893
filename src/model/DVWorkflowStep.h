// DVWorkflowStep: a step of a translation workflow, with what the user may do in it.
#pragma once

#include <Dorvane/DVLocale.h>

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

// A value.
struct DVWorkflowStep
{
    struct LocalePair
    {
        DVLocale source, target;
        friend bool operator==(const LocalePair &, const LocalePair &) = default;
    };

    QString workflowName;
    QString workflowUid;
    QString name;
    QString uid;
    QString stepClass;
    bool canTranslate = false;
    bool canSubmit = false;
    bool canReject = false;
    QList<LocalePair> localePairs;

    // One step of the platform's answer. A locale pair counts only when the platform's table of locales
    // has both identifiers; one that it has not is said at debug level.
    static DVWorkflowStep stepWithDictionary(const QJsonObject &dictionary, const QString &workflowName,
                                             const QString &uid);
    // All steps of all workflows in the payload of the workflows answer, in its order. One with a text of
    // more than 1000 characters, or more than 10000 locale pairs, is left out, with a line in the log.
    static QList<DVWorkflowStep> workflowsFromDictionary(const QJsonObject &dictionary);

    // A versioned JSON map under the names of the members above. Damaged data, another version, a value
    // of the wrong type and a step as large as above give none, and a line in the log.
    QByteArray archived() const;
    static std::optional<DVWorkflowStep> unarchived(const QByteArray &data);

    friend bool operator==(const DVWorkflowStep &, const DVWorkflowStep &) = default;
};
