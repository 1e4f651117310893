// DVBaseLocaleStrings: the strings of the project's base locale.
#pragma once

#include "DVLocaleStrings.h"

#include <QJsonObject>

// The application's packaged "Localizable" strings, under the source texts of whatever translation
// file was loaded. The second answer of every lookup. Main thread only, as its base.
class DVBaseLocaleStrings : public DVLocaleStrings
{
public:
    // Filled at once from the packaged strings file, possibly with no entries.
    static std::shared_ptr<DVBaseLocaleStrings> localeStringsForLocale(const DVLocale &locale);

    // Reads a packaged strings file and lays its table over `intoDict`.
    static bool loadStringsFromLocalizableStringsAtPath(const QString &path, DVStringLayers *intoDict);

    // Loads the source texts of the translation files on the device, borrowing a locale's files when none was
    // fetched.
    void loadStrings();
    // Identifier of a locale with both a published and a pending file on the device, or null. The
    // folder is searched in the order of names.
    static QString dummyLocalePresentOnDevice();

    // The target locale whose files supply the source texts; invalid until known.
    DVLocale fetchedLocale() const { return m_fetchedLocale; }

    // The packaged strings file; null when there is none. And what it holds, read once.
    QString packagedStringsPath() const;
    DVStringLayers packagedStrings() const { return m_packaged.value_or(DVStringLayers()); }

    // Lays the source texts of a locale's files over the packaged texts.
    void setSourceStrings(const DVStringLayers &sources);

    // Downloads the files of the project's first target locale, which becomes fetchedLocale; loadStrings()
    // reads their source texts. Completes as its base does.
    void pullWithCompletion(PullCompletion withCompletion, const DVTransferPtr &transfer = {}) override;

    // Named after fetchedLocale.
    QString publishedFilePath() const override;
    QString pendingFilePath() const override;

private:
    explicit DVBaseLocaleStrings(const DVLocale &locale);
    DVStringLayers readPackagedStrings() const;
    void pullFirstTargetLocale(const QJsonObject &projectInfo, const PullCompletion &then,
                               const DVTransferPtr &transfer);

    DVLocale m_fetchedLocale;
    std::optional<DVStringLayers> m_packaged; // read once
};
