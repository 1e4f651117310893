// Pulls of the strings that a review works on: of a locale's store, and of the base store.
#include "DVBaseLocaleStrings.h"

#include "DVApi.h"
#include "DVClock.h"
#include "DVLocaleIdentifiers.h"
#include "DVLog.h"
#include "DVMainQueue.h"
#include "DVReplacedFile.h"
#include "DVUserDefaults.h"

#include <QJsonArray>

namespace {

constexpr int signedByUser = 1;
constexpr int signedByCredentials = 2;

DVError noTargetLocales()
{
    return {QStringLiteral("dorvane.API"), 404, QStringLiteral("Project has no target locales")};
}

// Invalid when there is none, or none that could be downloaded.
DVLocale firstTargetLocale(const QJsonObject &projectInfo)
{
    const QJsonValue first = projectInfo.value(QLatin1StringView("targetLocales")).toArray().first();
    const QString identifier = first.toObject().value(QLatin1StringView("localeId")).toString();
    if (!dv_isSafeLocaleIdentifier(identifier))
        return {};
    return localeFromDorvneIdentifier(identifier);
}

void complete(const DVLocaleStrings::PullCompletion &completion, const DVErrorOr &error)
{
    if (completion)
        completion(error);
}

} // namespace

void DVLocaleStrings::noteReviewDownload()
{
    const DVUserDefaults::Batch batch;
    DVReplacedFile::keepDates(publishedFilePath(), m_locale);
    setLastDownloadDate(DVClock::now());
}

void DVLocaleStrings::pullWithCompletion(PullCompletion withCompletion, const DVTransferPtr &transfer)
{
    if (pendingFilePath().isEmpty() || publishedFilePath().isEmpty()) {
        const DVError error{QStringLiteral("dorvane.SDK"), 500, QStringLiteral("Invalid locale identifier")};
        return DVMainQueue::post([error, then = std::move(withCompletion)] { complete(then, error); });
    }
    if (m_pull && m_pull != transfer)
        m_pull->cancel();
    const DVTransferPtr pull = transfer ? transfer : std::make_shared<DVTransfer>();
    m_pull = pull;
    discardEdits();
    DVApi::downloadStringsForLocale(
        m_locale, signedByUser, pendingFilePath(), publishedFilePath(),
        [self = shared_from_this(), pull, then = std::move(withCompletion)](const DVErrorOr &error) {
            if (self->m_pull == pull)
                self->m_pull.reset();
            if (!error)
                self->noteReviewDownload();
            complete(then, error);
        },
        pull);
}

void DVBaseLocaleStrings::pullWithCompletion(PullCompletion withCompletion, const DVTransferPtr &transfer)
{
    const auto self = std::static_pointer_cast<DVBaseLocaleStrings>(shared_from_this());
    DVApi::projectInfoWithCompletion([self, transfer, then = std::move(withCompletion)](
                                         const DVErrorOr &error, const std::optional<QJsonObject> &info) {
        if (info)
            return self->pullFirstTargetLocale(*info, then, transfer);
        const DVError reason =
            error.value_or(DVError{QStringLiteral("dorvane.API"), 500, QStringLiteral("No answer")});
        dv_logInfo(QStringLiteral("Error getting project locales: %1").arg(reason.description));
        complete(then, reason);
    });
}

void DVBaseLocaleStrings::pullFirstTargetLocale(const QJsonObject &projectInfo, const PullCompletion &then,
                                                const DVTransferPtr &transfer)
{
    const DVLocale target = firstTargetLocale(projectInfo);
    if (!target.isValid()) {
        const DVError error = noTargetLocales();
        dv_logInfo(error.description);
        return complete(then, error);
    }
    m_fetchedLocale = target;
    DVApi::downloadStringsForLocale(
        target, signedByCredentials, pendingFilePath(), publishedFilePath(),
        [then](const DVErrorOr &error) { complete(then, error); }, transfer);
}
