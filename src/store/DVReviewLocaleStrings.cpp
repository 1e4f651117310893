#include "DVReviewLocaleStrings.h"

#include "DVCueMarkers.h"
#include "DVFolders.h"
#include "DVLocaleIdentifiers.h"
#include "DVNetwork.h"

#include <QFile>

namespace {

constexpr QLatin1StringView reviewSuffix("_review.xlf");

// As it was read, whatever became of the record since; null when the string has no such form.
QString loadedText(const DVStringLayers &layers, const QString &key, const QString &form)
{
    const auto hit = layers.find(QStringView(key));
    const DVStringGroupPtr group = hit ? hit.table->group(hit.entry) : nullptr;
    const DVStringPtr record = group ? group->pluralForms.value(form) : nullptr;
    if (!record)
        return {};
    DVPluralCategory category;
    if (record->pluralForm.isNull())
        return hit.table->plainText(hit.entry);
    if (dv_pluralCategoryFromName(form, &category))
        return hit.table->plainText(hit.entry, category);
    return dv_stringByRemovingCues(record->localizedFormat);
}

// By key and form.
template<typename Visitor> void visitForms(const DVStringGroups &strings, const Visitor &visit)
{
    for (auto group = strings.constBegin(); group != strings.constEnd(); ++group) {
        QStringList forms = *group ? (*group)->pluralForms.keys() : QStringList();
        forms.sort();
        for (const QString &form : std::as_const(forms)) {
            if (const DVStringPtr record = (*group)->pluralForms.value(form))
                visit(group.key(), form, *record);
        }
    }
}

} // namespace

std::shared_ptr<DVReviewLocaleStrings>
DVReviewLocaleStrings::reviewLocaleStringsFromLocaleStrings(const DVLocaleStrings &strings)
{
    return std::shared_ptr<DVReviewLocaleStrings>(new DVReviewLocaleStrings(strings.locale()));
}

QString DVReviewLocaleStrings::reviewFilePath(QStringView kind) const
{
    const QString folder = DVFolders::dorvaneFiles();
    if (folder.isEmpty() || !dv_isSafeLocaleIdentifier(locale().identifier()))
        return {};
    return folder + u'/' + locale().identifier() + u'_' + kind + reviewSuffix;
}

QString DVReviewLocaleStrings::publishedFilePath() const
{
    return reviewFilePath(u"published");
}

QString DVReviewLocaleStrings::pendingFilePath() const
{
    return reviewFilePath(u"pending");
}

QString DVReviewLocaleStrings::dirtyFilePath() const
{
    return reviewFilePath(u"edited");
}

bool DVReviewLocaleStrings::isReviewFile(const QString &fileName)
{
    for (const QStringView kind : {u"_published", u"_pending", u"_edited"}) {
        const QString suffix = kind + reviewSuffix;
        if (fileName.endsWith(suffix) && dv_isSafeLocaleIdentifier(fileName.chopped(suffix.size())))
            return true;
    }
    return false;
}

void DVReviewLocaleStrings::loadStrings()
{
    if (!locale().isValid())
        return;
    DVStringLayers strings;
    m_publishedWasRead = loadStringsFromPath(publishedFilePath(), &strings, nullptr, DVStringStatusPublished);
    loadStringsFromPath(pendingFilePath(), &strings, nullptr, DVStringStatusNone);
    setLoadedStrings(strings);
    clearAllFiles();
}

void DVReviewLocaleStrings::clearAllFiles()
{
    for (const QString &path : {dirtyFilePath(), pendingFilePath(), publishedFilePath()}) {
        if (path.isEmpty())
            continue;
        QFile::remove(path);
        QFile::remove(dv_previousFilePath(path));
    }
}

void DVReviewLocaleStrings::pullWithCompletion(PullCompletion withCompletion, const DVTransferPtr &transfer)
{
    clearAllFiles();
    const auto self = std::static_pointer_cast<DVReviewLocaleStrings>(shared_from_this());
    DVLocaleStrings::pullWithCompletion(
        [self, then = std::move(withCompletion)](const DVErrorOr &error) {
            if (error)
                self->clearAllFiles();
            if (then)
                then(error);
        },
        transfer);
}

QList<DVStringConflict> DVReviewLocaleStrings::conflictsWith(const DVLocaleStrings &edited) const
{
    QList<DVStringConflict> conflicts;
    visitForms(edited.dirtyStrings(), [&](const QString &key, const QString &form, const DVString &record) {
        const QString now = loadedText(loadedStrings(), key, form);
        if (now.isNull() && !m_publishedWasRead)
            return;
        const QString before = loadedText(edited.loadedStrings(), key, form);
        const QString edit = dv_stringByRemovingCues(record.localizedFormat);
        const bool same = before == now && before.isNull() == now.isNull();
        if (!same && edit != now)
            conflicts.append({key, form, edit, before, now});
    });
    return conflicts;
}

QSet<QString> DVReviewLocaleStrings::untoldConflictsWith(const DVLocaleStrings &edited) const
{
    if (m_publishedWasRead)
        return {};
    const bool hasPublished = QFile::exists(edited.publishedFilePath());
    QSet<QString> keys;
    visitForms(edited.dirtyStrings(), [&](const QString &key, const QString &form, const DVString &) {
        const bool isThere = !loadedText(loadedStrings(), key, form).isNull();
        if (!isThere && (hasPublished || !loadedText(edited.loadedStrings(), key, form).isNull()))
            keys.insert(key);
    });
    return keys;
}
