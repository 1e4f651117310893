// The review half of a locale's store: strings changed, accepted and rejected on this device.
#include "DVLocaleStrings.h"

#include "DVBaseLocaleStrings.h"
#include "DVEditedFile.h"
#include "DVLocaleIdentifiers.h"
#include "DVLog.h"
#include "DVState.h"
#include "DVUserDefaults.h"

#include <QFile>

#include <limits>

namespace {

constexpr QLatin1StringView statusesKey("DVStatuses");
constexpr QLatin1StringView rejectionsKey("DVRejections");
constexpr QLatin1StringView reasonName("reason");
constexpr QLatin1StringView descriptionName("description");

using BaseStringsSource = std::function<std::shared_ptr<DVBaseLocaleStrings>()>;

BaseStringsSource &baseStringsSource()
{
    static auto *source = new BaseStringsSource; // never destroyed, as all that a late caller may meet
    return *source;
}

// What was decided about a string.
struct Decision
{
    quint32 status = DVStringStatusNone;
    QString reason;
    QString description;
};

Decision decisionOf(const DVStringGroup &group)
{
    return {group.status, group.rejectReason, group.rejectDescription};
}

// Those that were saved. What is no status is left out.
QMap<QString, Decision> savedDecisions()
{
    QMap<QString, Decision> decisions;
    const auto &defaults = DVUserDefaults::standard();
    const auto statuses = defaults.objectForKey(statusesKey);
    if (!statuses)
        return decisions;
    const QJsonObject rejections = defaults.objectForKey(rejectionsKey).value_or(QJsonObject());
    for (auto saved = statuses->constBegin(); saved != statuses->constEnd(); ++saved) {
        const qint64 status = saved->toInteger(-1);
        if (status < 0 || status > std::numeric_limits<quint32>::max())
            continue;
        Decision decision{quint32(status), {}, {}};
        if (decision.status == DVStringStatusRejected) {
            const QJsonObject rejection = rejections.value(saved.key()).toObject();
            decision.reason = rejection.value(reasonName).toString();
            decision.description = rejection.value(descriptionName).toString();
        }
        decisions.insert(saved.key(), decision);
    }
    dv_logDebugLazily([&] { return QStringLiteral("Loading saved statuses: %1").arg(decisions.size()); });
    return decisions;
}

void removeSavedDecisions()
{
    auto &defaults = DVUserDefaults::standard();
    const DVUserDefaults::Batch batch;
    defaults.removeKey(statusesKey);
    defaults.removeKey(rejectionsKey);
}

void addForms(DVStringTableBuilder *builder, const QString &key, const DVStringGroup &group)
{
    const auto view = [](const QByteArray &text) {
        return text.isNull() ? std::string_view() : std::string_view(text.constData(), size_t(text.size()));
    };
    const QByteArray keyBytes = key.toUtf8();
    for (const DVStringPtr &form : group.pluralForms) {
        if (!form || form->localizedFormat.isNull())
            continue;
        const QByteArray text = form->localizedFormat.toUtf8();
        const QByteArray uid = form->uid.toUtf8();
        const QByteArray note = form->note.toUtf8();
        const QByteArray plural = form->pluralForm.toUtf8();
        builder->add({view(keyBytes), view(uid), view(plural), view(text), view(note), group.status, true});
    }
}

DVStringTablePtr tableOf(const DVStringGroups &strings)
{
    DVStringTableBuilder builder(DVState::shared().stringsNeedCues());
    for (auto group = strings.constBegin(); group != strings.constEnd(); ++group) {
        if (*group)
            addForms(&builder, group.key(), **group);
    }
    return builder.build();
}

// Records that nobody else changes.
DVStringGroupPtr ownCopy(const DVStringGroup &group)
{
    const DVStringGroupPtr copy = group.copy();
    for (const DVStringPtr &form : std::as_const(copy->pluralForms)) {
        if (form)
            form->group = copy;
    }
    return copy;
}

QString keysOf(const DVXliffWriter::Failures &failures)
{
    return QStringList(failures.keys()).join(QStringLiteral(", "));
}

} // namespace

void DVLocaleStrings::setBaseStringsSource(BaseStringsSource source)
{
    baseStringsSource() = std::move(source);
}

DVXliffHeader DVLocaleStrings::xliffHeader() const
{
    const auto base = baseStringsSource() ? baseStringsSource()() : nullptr;
    DVXliffHeader header;
    header.sourceLocale = base ? dorvaneLocaleIdentifier(base->locale()) : QString();
    header.targetLocale = dorvaneLocaleIdentifier(m_locale);
    header.stepUid = DVState::shared().workflowStepUid();
    header.stepName = DVState::shared().workflowStepName();
    header.baseForm = [base](const QString &key, const QString &plural) {
        return base ? base->dorvaneStringForKey(key, plural) : nullptr;
    };
    return header;
}

// Dirty strings

void DVLocaleStrings::setDirtyStrings(DVStringGroups strings)
{
    const DVStringGroups before = std::exchange(m_dirtyStrings, std::move(strings));
    for (auto key = before.keyBegin(); key != before.keyEnd(); ++key) {
        if (!m_dirtyStrings.contains(*key))
            forgetLoadedRecord(*key);
    }
    publishDirtyStrings();
}

// An edit changes the loaded record itself, and its text must not outlive the edit.
void DVLocaleStrings::forgetLoadedRecord(const QString &key)
{
    if (const auto hit = m_loadedStrings.find(QStringView(key)))
        hit.table->forgetGroup(hit.entry);
}

void DVLocaleStrings::publishDirtyStrings()
{
    m_dirtyLayers = DVStringLayers();
    m_dirtyLayers.layOver(tableOf(m_dirtyStrings));
    notifyStringsObserver();
}

void DVLocaleStrings::loadEdits(const DVBaseLocaleStrings *baseStrings)
{
    const auto result = DVEditedFile::read(dirtyFilePath(), &m_dirtyStrings);
    m_editedFileIsUnread = result == DVEditedFile::Result::Unread;
    m_editedFileWasRead = !m_editedFileIsUnread;
    if (baseStrings)
        addBaseForms(*baseStrings);
    m_dirtyLayers = DVStringLayers();
    m_dirtyLayers.layOver(tableOf(m_dirtyStrings));
    dv_logDebugLazily([&] { return QStringLiteral("Dirty strings: %1 keys").arg(m_dirtyStrings.size()); });
}

// The file holds only what was translated. A plural string that the locale does not have began as a copy of
// the base locale's, whose other forms are still served.
void DVLocaleStrings::addBaseForms(const DVBaseLocaleStrings &baseStrings)
{
    for (auto entry = m_dirtyStrings.constBegin(); entry != m_dirtyStrings.constEnd(); ++entry) {
        const DVStringGroupPtr &group = *entry;
        if (!group || !group->hasPlurals || m_loadedStrings.find(QStringView(entry.key())))
            continue;
        const DVStringGroupPtr base = baseStrings.loadedStrings().group(entry.key());
        if (!base || !base->hasPlurals)
            continue;
        for (auto form = base->pluralForms.constBegin(); form != base->pluralForms.constEnd(); ++form) {
            if (!group->pluralForms.contains(form.key()))
                group->addStringForm((*form)->copy());
        }
    }
}

void DVLocaleStrings::clearDirtyStrings()
{
    if (!m_isRetired)
        DVEditedFile::remove(dirtyFilePath());
    m_editedFileWasRead = true;
    m_editedFileIsUnread = false;
    setDirtyStrings({});
}

void DVLocaleStrings::keepSavedStrings(const DVStringGroups &strings)
{
    DVStringLayers layers = m_loadedStrings;
    layers.layOver(tableOf(strings));
    setLoadedStrings(layers);
    notifyStringsObserver();
}

// Saving

void DVLocaleStrings::saveDirty()
{
    if (m_isRetired)
        return;
    saveEditedFile();
    saveStatuses();
}

void DVLocaleStrings::saveEditedFile()
{
    const QString path = dirtyFilePath();
    // The file holds edits that are not here: they come first now, or go out of the way.
    if (m_editedFileIsUnread) {
        loadEdits(baseStringsSource() ? baseStringsSource()().get() : nullptr);
        if (m_editedFileIsUnread)
            DVEditedFile::setAside(path);
        notifyStringsObserver();
    }
    DVXliffWriter::Failures failures;
    const DVStringGroups edits = DVEditedFile::translated(m_dirtyStrings);
    if (const auto error = DVXliffWriter::writeXliffFromStrings(edits, path, xliffHeader(), &failures))
        dv_logInfo(QStringLiteral("Error saving dirty strings: %1").arg(error->description));
    else
        m_editedFileWasRead = true;
    if (!failures.isEmpty())
        dv_logInfo(QStringLiteral("Failed to save some strings: %1").arg(keysOf(failures)));
}

void DVLocaleStrings::saveStatuses() const
{
    QJsonObject statuses;
    QJsonObject rejections;
    for (const DVStringGroups *strings : {&m_acceptedStrings, &m_rejectedStrings}) {
        for (auto group = strings->constBegin(); group != strings->constEnd(); ++group) {
            if (*group)
                statuses.insert(group.key(), qint64((*group)->status));
        }
    }
    for (auto group = m_rejectedStrings.constBegin(); group != m_rejectedStrings.constEnd(); ++group) {
        if (*group && !((*group)->rejectReason.isEmpty() && (*group)->rejectDescription.isEmpty()))
            rejections.insert(group.key(), QJsonObject{{reasonName, (*group)->rejectReason},
                                                       {descriptionName, (*group)->rejectDescription}});
    }
    auto &defaults = DVUserDefaults::standard();
    const DVUserDefaults::Batch batch;
    defaults.setObject(statusesKey, statuses);
    if (rejections.isEmpty())
        defaults.removeKey(rejectionsKey);
    else
        defaults.setObject(rejectionsKey, rejections);
}

// Statuses

// A reload gives strings other records; decisions that were not saved go on to them too.
void DVLocaleStrings::loadDirtyStatuses()
{
    QMap<QString, Decision> decisions = savedDecisions();
    for (const DVStringGroups *strings : {&m_acceptedStrings, &m_rejectedStrings}) {
        for (auto group = strings->constBegin(); group != strings->constEnd(); ++group) {
            if (*group)
                decisions.insert(group.key(), decisionOf(**group));
        }
    }
    for (auto decision = decisions.constBegin(); decision != decisions.constEnd(); ++decision) {
        const DVStringGroupPtr loaded = m_loadedStrings.group(decision.key());
        const DVStringGroupPtr dirty = m_dirtyStrings.value(decision.key());
        for (const DVStringGroupPtr &group : {loaded, dirty}) {
            if (!group)
                continue;
            group->status = decision->status;
            group->rejectReason = decision->reason;
            group->rejectDescription = decision->description;
        }
        if (const DVStringGroupPtr record = dirty ? dirty : loaded)
            listDecided(decision.key(), record);
    }
}

void DVLocaleStrings::listDecided(const QString &key, const DVStringGroupPtr &record)
{
    if (record->status == DVStringStatusRejected) {
        m_rejectedStrings.insert(key, record);
        m_acceptedStrings.remove(key);
    } else if (record->status == DVStringStatusAccepted) {
        m_acceptedStrings.insert(key, record);
        m_rejectedStrings.remove(key);
    }
}

void DVLocaleStrings::clearDirtyStatuses()
{
    if (!m_isRetired)
        removeSavedDecisions();
    for (const DVStringGroups *strings : {&m_acceptedStrings, &m_rejectedStrings}) {
        for (auto key = strings->keyBegin(); key != strings->keyEnd(); ++key) {
            if (!m_dirtyStrings.contains(*key))
                forgetLoadedRecord(*key);
        }
    }
    m_acceptedStrings.clear();
    m_rejectedStrings.clear();
}

// Edits that were thrown away

void DVLocaleStrings::discardEdits()
{
    if (!m_isRetired)
        keepDiscarded();
    clearDirtyStrings();
    clearDirtyStatuses();
}

void DVLocaleStrings::keepDiscarded()
{
    DVStringGroups discarded = DVEditedFile::translated(m_dirtyStrings);
    if (!m_editedFileWasRead)
        DVEditedFile::read(dirtyFilePath(), &discarded);
    if (discarded.isEmpty())
        return; // what an earlier pull discarded stays
    for (DVStringGroupPtr &group : discarded)
        group = group ? ownCopy(*group) : nullptr;
    DVStringGroups all = discardedStrings();
    all.insert(discarded);
    m_discardedStrings = all;
    DVXliffWriter::Failures failures;
    const auto error =
        DVXliffWriter::writeXliffFromStrings(all, discardedFilePath(), xliffHeader(), &failures);
    if (!error)
        return;
    dv_logInfo(QStringLiteral("Error keeping discarded strings: %1").arg(error->description));
    QFile::rename(dirtyFilePath(), discardedFilePath()); // a full disk still renames, over nothing
}

DVStringGroups DVLocaleStrings::discardedStrings() const
{
    if (!m_discardedStrings) {
        m_discardedStrings = DVStringGroups();
        DVEditedFile::read(discardedFilePath(), &*m_discardedStrings);
    }
    return *m_discardedStrings;
}

void DVLocaleStrings::clearDiscardedStrings()
{
    m_discardedStrings = DVStringGroups();
    DVEditedFile::remove(discardedFilePath());
}

void DVLocaleStrings::removeReviewFromDevice()
{
    removeSavedDecisions();
    DVEditedFile::removeAll();
}
