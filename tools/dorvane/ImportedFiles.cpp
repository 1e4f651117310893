#include "ImportedFiles.h"

#include "DeliveredFile.h"

#include <DocumentLines.h>
#include <TsReader.h>

#include <QFileInfo>
#include <QLocale>
#include <QRegularExpression>

#include <algorithm>
#include <utility>

namespace {

constexpr qsizetype headLength = 4096;

bool isStringsFile(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix();
    return suffix == u"strings" || suffix == u"plist";
}

// "app_fr_CA.ts", "fr.lproj/Localizable.strings", "fr.xlf"
QString localeInName(const QString &path)
{
    static const QRegularExpression lproj(
        QStringLiteral("([A-Za-z]{2,3}(?:[-_][A-Za-z0-9]+)*)\\.lproj/[^/]*$"));
    static const QRegularExpression name(
        QStringLiteral("(?:^|[_.-])([a-z]{2,3}(?:[-_](?:[A-Z][a-z]{3}|[A-Z]{2}|[0-9]{3}))*)$"));
    if (const auto match = lproj.match(QFileInfo(path).absoluteFilePath()); match.hasMatch())
        return match.captured(1);
    const QString last = name.match(QFileInfo(path).completeBaseName()).captured(1);
    return QLocale(last).language() == QLocale::C ? QString() : last; // "my_app" is no language
}

} // namespace

bool isLanguageTag(const QString &locale)
{
    static const QRegularExpression tag(
        QStringLiteral("\\A(?:[A-Za-z]{2,3}|[xX](?=-))(?:-[A-Za-z0-9]{1,8}){0,8}\\z"));
    return tag.match(locale).hasMatch();
}

ImportedFiles::ImportedFiles(Options options)
    : m_options(std::move(options))
{}

QString ImportedFiles::read(const QStringList &paths)
{
    QStringList ordered = paths;
    const auto others = std::stable_partition(ordered.begin(), ordered.end(),
                                              [](const QString &path) { return !isStringsFile(path); });
    if (others == ordered.begin() && m_options.sourceLocale.isEmpty())
        m_options.sourceLocale = QStringLiteral("en");
    for (auto path = ordered.begin(); path != others; ++path) {
        if (const QString problem = readFile(*path); !problem.isEmpty())
            return problem;
    }
    std::stable_partition(others, ordered.end(),
                          [this](const QString &path) { return isOfSourceLocale(path); });
    for (auto path = others; path != ordered.end(); ++path) {
        if (const QString problem = readFile(*path); !problem.isEmpty())
            return problem;
    }
    return {};
}

QString ImportedFiles::readFile(const QString &path)
{
    QString problem;
    const QByteArray content = readWholeFile(path, &problem);
    if (!problem.isEmpty())
        return problem;
    FormatError error;
    const auto file = readMessages(path, content, &error);
    if (!file)
        return error.text(path) + QStringLiteral("; nothing was changed");
    for (const FormatError &warning : file->warnings)
        m_warnings.append(
            FormatError{QStringLiteral("warning: ") + warning.what, warning.position}.text(path));
    const QString locale = localeOf(path, *file, &problem);
    if (locale.isEmpty())
        return problem;
    if (m_options.sourceLocale.isEmpty())
        m_options.sourceLocale =
            isLanguageTag(file->sourceLocale) ? file->sourceLocale : QStringLiteral("en");
    ImportedBatch &batch = m_batches[locale];
    batch.paths.append(path);
    for (Message message : file->messages) {
        message.path = path;
        batch.messages.append(message);
    }
    return {};
}

std::optional<MessageFile> ImportedFiles::readMessages(const QString &path, const QByteArray &content,
                                                       FormatError *error)
{
    const QString suffix = QFileInfo(path).suffix();
    if (isStringsFile(path))
        return readStrings(path, content, error);
    if (suffix == u"xlf" || suffix == u"xliff")
        return readXliffMessages(content, m_options.locale, m_options.xliffKeys, error);
    if (suffix != u"ts") {
        *error = {QStringLiteral("files that end in .ts, .strings, .xlf or .xliff can be imported"), {}};
        return {};
    }
    // The name decides where nothing else does, as it does for Qt's tools.
    const bool saysLocale = content.left(headLength).contains(" language=");
    auto read =
        readTs(content, m_options.locale.isEmpty() && !saysLocale ? localeInName(path) : m_options.locale,
               error, [this, &path](qsizetype count) {
                   m_options.progress(QStringLiteral("%1: %2 messages read").arg(path).arg(count));
               });
    return read ? std::optional(read->file) : std::nullopt;
}

std::optional<MessageFile> ImportedFiles::readStrings(const QString &path, const QByteArray &content,
                                                      FormatError *error)
{
    return isOfSourceLocale(path) ? readBaseStringsMessages(content, error)
                                  : readStringsMessages(content, baseTexts(), error);
}

// What a strings file of another language translates.
QHash<QString, QString> ImportedFiles::baseTexts() const
{
    QHash<QString, QString> texts = m_options.baseTexts(m_options.sourceLocale);
    if (const auto batch = m_batches.find(m_options.sourceLocale); batch != m_batches.end()) {
        for (const Message &message : batch->second.messages)
            texts.insert(message.id, message.forms.value(QString()));
    }
    return texts;
}

bool ImportedFiles::isOfSourceLocale(const QString &path) const
{
    const QString locale = m_options.locale.isEmpty() ? platformLocale(localeInName(path)) : m_options.locale;
    return locale.compare(m_options.sourceLocale, Qt::CaseInsensitive) == 0;
}

QString ImportedFiles::localeOf(const QString &path, const MessageFile &file, QString *problem) const
{
    for (const QString &locale : {m_options.locale, file.locale, platformLocale(localeInName(path))}) {
        if (isLanguageTag(locale))
            return locale;
        if (locale.isEmpty())
            continue;
        *problem =
            QStringLiteral("%1 says that its language is \"%2\", which is no locale identifier: say it "
                           "with --locale, such as --locale fr or --locale pt-BR; nothing was changed")
                .arg(path, forTerminal(locale, 60));
        return {};
    }
    *problem = QStringLiteral("%1 does not say which language it is in: say it with --locale, such as "
                              "--locale fr")
                   .arg(path);
    return {};
}
