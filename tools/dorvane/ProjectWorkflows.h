// ProjectWorkflows: the steps that a translation takes on its way to the users.
#pragma once

#include "ProjectAccess.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

class JsonMembers;

struct WorkflowStep
{
    struct LocalePair
    {
        QString source;
        QString target;
    };

    QString name;
    QString uid; // of one step only in a project
    QString stepClass;
    StepPermissions permissions;
    QList<LocalePair> localePairs;

    bool hasTarget(const QString &locale) const;
};

struct Workflow
{
    QString name;
    QString uid;
    QList<WorkflowStep> steps;
};

class ProjectWorkflows
{
public:
    // The member "workflows" of project.json. Without one: a workflow of the steps "translation" and
    // "review", for all locales.
    static ProjectWorkflows fromJson(JsonMembers &members, const QString &sourceLocale,
                                     const QStringList &targetLocales);

    const QList<Workflow> &workflows() const { return m_workflows; }

    // Null when there is none.
    const WorkflowStep *step(const QString &uid) const;
    // The first step of the first workflow that has the locale.
    const WorkflowStep *firstStep(const QString &locale) const;
    // The neighbours of a step among the steps of its workflow that have the locale.
    const WorkflowStep *stepAfter(const QString &uid, const QString &locale) const;
    const WorkflowStep *stepBefore(const QString &uid, const QString &locale) const;

private:
    const WorkflowStep *neighbour(const QString &uid, const QString &locale, qsizetype direction) const;

    QList<Workflow> m_workflows;
};
