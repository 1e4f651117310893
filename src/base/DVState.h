// DVState: the run-time state that every floor reads.
#pragma once

#include "DVPrivateExport.h"

#include <QMutex>
#include <QString>

#include <atomic>

// DVMainController's properties of the same names are views on it. Written on the main thread, read
// on any: the flags are atomics, the texts are copied under a lock.
class DVState
{
public:
    DORVANE_PRIVATE_EXPORT static DVState &shared();

    std::atomic<bool> appLaunched = false;
    std::atomic<bool> log = false;
    std::atomic<bool> debug = false;
    std::atomic<bool> editionMode = false;
    std::atomic<bool> servingMode = false;
    std::atomic<bool> screenshotMode = false;
    std::atomic<bool> mixedMode = false;
    std::atomic<bool> allowLocaleChange = false;
    std::atomic<bool> uiTest = false;
    std::atomic<bool> loggedIn = false;        // DVSession holds a token, or the demonstration's proxy signs
    std::atomic<bool> canTranslate = false;    // in the current workflow step; false without one
    std::atomic<bool> analyticsEnabled = true; // option "analytics"
    std::atomic<qint64> pullTimeout = 0;       // seconds

    // Texts handed to the host carry cue markers.
    bool stringsNeedCues() const { return allowLocaleChange || editionMode || screenshotMode; }

    // Texts may be edited in place: somebody who may translate in the current step is signed in.
    bool editionEnabled() const { return editionMode && loggedIn && canTranslate; }

    QString appId() const { return read(m_appId); }
    void setAppId(const QString &id) { write(m_appId, id); }
    QString aesKey() const { return read(m_aesKey); } // base64 text
    void setAesKey(const QString &key);
    // Identifier of the locale now served, device form; null when none is.
    QString currentLocaleIdentifier() const { return read(m_localeIdentifier); }
    void setCurrentLocaleIdentifier(const QString &identifier) { write(m_localeIdentifier, identifier); }
    // Of the current workflow step; null without one.
    QString workflowStepUid() const { return read(m_workflowStepUid); }
    QString workflowStepName() const { return read(m_workflowStepName); }
    void setWorkflowStep(const QString &uid, const QString &name)
    {
        const QMutexLocker lock(&m_mutex);
        m_workflowStepUid = uid;
        m_workflowStepName = name;
    }
    // E-mail address of the signed-in user; null when nobody is signed in.
    QString userEmail() const { return read(m_userEmail); }
    void setUserEmail(const QString &email) { write(m_userEmail, email); }

private:
    QString read(const QString &member) const
    {
        const QMutexLocker lock(&m_mutex);
        return member;
    }
    void write(QString &member, const QString &value)
    {
        const QMutexLocker lock(&m_mutex);
        member = value;
    }

    mutable QMutex m_mutex;
    QString m_appId;
    QString m_aesKey;
    QString m_localeIdentifier;
    QString m_workflowStepUid;
    QString m_workflowStepName;
    QString m_userEmail;
};
