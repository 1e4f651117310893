#include "ContentChecks.h"

#include "Check.h"
#include "DeliveredFile.h"
#include "DocumentLines.h"

#include <DVData.h>
#include <DVXliffParser.h>

namespace {

bool decrypt(const QByteArray &body, const QString &key, const StepReport &report, QByteArray *content)
{
    const QString name = QStringLiteral("decryption");
    constexpr qsizetype blockSize = 16;
    *content = dv_decryptAESWithKey(body, key);
    if (!content->isNull()) {
        report({name, Verdict::Ok, QStringLiteral("%1 bytes").arg(content->size()), {}});
        return true;
    }
    const bool isWhole = body.size() % blockSize == 0;
    const QString seen = isWhole
                             ? QStringLiteral("the key does not open it")
                             : QStringLiteral("%1 bytes are no whole number of AES blocks").arg(body.size());
    const QString advice = isWhole
                               ? QStringLiteral("give the key that the file was packed with (option "
                                                "\"otaKey\" of the application), or pack it again")
                               : QStringLiteral("the file is cut short or was never encrypted: publish what "
                                                "\"dorvane pack\" wrote");
    report({name, Verdict::Fail, seen, advice});
    return false;
}

bool inflate(const QByteArray &content, const StepReport &report, QByteArray *document)
{
    const QString name = QStringLiteral("inflation");
    if (!dv_isGzippedData(content)) {
        *document = content;
        report({name, Verdict::Warn, QStringLiteral("the content is not gzip data; devices take it as it is"),
                QStringLiteral("compress it: \"dorvane pack\" does")});
        return true;
    }
    DVErrorOr error;
    *document = dv_gunzippedData(content, {}, &error);
    if (!error && isUndamaged(content, *document)) {
        report({name, Verdict::Ok, QStringLiteral("%1 bytes").arg(document->size()), {}});
        return true;
    }
    report({name, Verdict::Fail,
            error ? error->description : QStringLiteral("the gzip stream is damaged or cut short"),
            QStringLiteral("publish it again, beside the old file and renamed into its place")});
    return false;
}

void checkStrings(const QByteArray &document, const QString &locale, const StepReport &report)
{
    CheckOptions options;
    options.locale = locale;
    const FindingList findings = findingsIn(document, options);
    const FindingCounts counts = FindingCounts::of(findings);
    const bool isGood = counts.errors == 0 && counts.warnings == 0;
    QString seen = counts.text().isEmpty() ? QStringLiteral("nothing wrong") : counts.text();
    const auto worst =
        std::max_element(findings.begin(), findings.end(),
                         [](const Finding &a, const Finding &b) { return a.severity < b.severity; });
    if (!isGood)
        seen += QStringLiteral("; %1: %2 (key \"%3\")")
                    .arg(ruleName(worst->rule), worst->message, forTerminal(worst->key, 60));
    report({QStringLiteral("check"), isGood ? Verdict::Ok : Verdict::Warn, seen,
            isGood ? QString()
                   : QStringLiteral("\"dorvane unpack\" the file and \"dorvane check\" what is in it")});
}

void lookUp(const DVXliffParser::Strings &strings, const QString &key, const StepReport &report)
{
    const QString name = QStringLiteral("string");
    const DVStringGroupPtr group = strings.value(key);
    if (!group)
        return report(
            {name, Verdict::Fail, QStringLiteral("there is no \"%1\"").arg(forTerminal(key, 60)),
             QStringLiteral("keys are compared letter by letter: compare it with the unit's resname, "
                            "and publish the file that has it")});
    QStringList forms;
    const QStringList names = group->sortedPluralFormNames();
    for (const QString &form : names)
        forms +=
            QString(form % u": \"" % forTerminal(group->pluralForms.value(form)->localizedFormat, 60) % u'"');
    const DVStringPtr plain = group->stringForPluralForm({}, false);
    if (forms.isEmpty() && plain)
        forms += QString(u'"' % forTerminal(plain->localizedFormat, 120) % u'"');
    report({name, Verdict::Ok, forms.join(QStringLiteral(", ")), {}});
}

} // namespace

void checkContent(const QByteArray &body, const ContentQuestion &question, const StepReport &report)
{
    QByteArray content;
    QByteArray document;
    if (question.key.isNull() || !decrypt(body, question.key, report, &content) ||
        !inflate(content, report, &document))
        return;
    DVErrorOr error;
    const DVXliffParser::Strings strings = DVXliffParser::parseXliffData(document, 0, &error, false);
    const QString name = QStringLiteral("document");
    if (error)
        return report(
            {name, Verdict::Fail, error->description,
             QStringLiteral("devices delete such a file and keep the one before; mend the document, "
                            "\"dorvane check\" shows the place")});
    if (strings.isEmpty())
        return report({name, Verdict::Fail, QStringLiteral("there is no string in it"),
                       QStringLiteral("publish an XLIFF 1.2 document; each unit needs a resname")});
    report({name, Verdict::Ok, QStringLiteral("%1 keys").arg(strings.size()), {}});
    checkStrings(document, question.locale, report);
    if (question.string)
        lookUp(strings, *question.string, report);
}
