// The project folder of the examples against the applications themselves: what lupdate finds in
// their sources, C++, forms and QML, must be in every language, complete and well-formed.
#include "DVPluralForm.h"
#include "DVXliffParser.h"
#include <DVRows.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

#include <unicode/plurrule.h>

#include <memory>

namespace {

struct Unit
{
    QString key;
    QString category; // empty: not a plural form
    QString target;
    QStringList placeholders;    // of the target, sorted
    bool percentOutside = false; // in source or target: it would be shown as U+FF05
};

const QRegularExpression &placeholder()
{
    static const QRegularExpression pattern(u"%(?:L?[0-9]{1,2}|L?n)"_qs);
    return pattern;
}

QStringList placeholdersOf(const QString &text)
{
    QStringList found;
    for (auto match = placeholder().globalMatch(text); match.hasNext();)
        found.append(match.next().captured());
    found.sort();
    return found;
}

// The text of a source or target; its placeholders go to `unit` when it is the target.
QString readInline(QXmlStreamReader &xml, Unit &unit)
{
    const bool isTarget = xml.name() == u"target";
    QString text;
    while (!xml.atEnd() && xml.readNext() != QXmlStreamReader::EndElement) {
        if (xml.isStartElement() && xml.name() == u"ph") {
            const QString inside = xml.readElementText();
            text += inside;
            if (isTarget)
                unit.placeholders.append(inside);
        } else if (xml.isCharacters()) {
            unit.percentOutside |= xml.text().contains(u'%');
            text += xml.text();
        }
    }
    unit.placeholders.sort();
    return text;
}

Unit readUnit(QXmlStreamReader &xml)
{
    static const QRegularExpression suffix(u"\\[([a-z]+)\\]$"_qs);
    Unit unit;
    unit.key = xml.attributes().value(u"resname"_qs).toString();
    unit.category = suffix.match(xml.attributes().value(u"id"_qs)).captured(1);
    QString source;
    while (xml.readNextStartElement()) {
        if (xml.name() == u"source")
            source = readInline(xml, unit);
        else if (xml.name() == u"target")
            unit.target = readInline(xml, unit);
        else
            xml.skipCurrentElement();
    }
    if (source != unit.key)
        xml.raiseError(u"the source of \"%1\" is \"%2\""_qs.arg(unit.key, source));
    return unit;
}

std::unique_ptr<icu::PluralRules> pluralRules(const QString &language)
{
    UErrorCode status = U_ZERO_ERROR;
    return std::unique_ptr<icu::PluralRules>(
        icu::PluralRules::forLocale(icu::Locale(qPrintable(language)), status));
}

QString fromIcu(const icu::UnicodeString &text)
{
    return QString::fromUtf16(text.getBuffer(), text.length());
}

} // namespace

class ExampleProjectTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void languageFiles_data();
    void languageFiles();
    void libraryReadsWhatStandsThere_data();
    void libraryReadsWhatStandsThere();
    void newPublicationDiffers();
    void theExamplesSayTheSame();

private:
    QMap<QString, bool> textsOf(const QString &example);
    void readTexts(const QString &path, QMap<QString, bool> *texts);
    void readFile(const QString &path, QList<Unit> *units);
    void checkForms(const QString &language, const QString &key, const QStringList &categories);
    void checkPlaceholders(const QString &language, const Unit &unit);
    void checkScript(const QString &language, const Unit &unit);

    QMap<QString, bool> m_texts; // key to whether it has plural forms
};

void ExampleProjectTest::initTestCase()
{
    m_texts = textsOf(u"widgets"_qs);
    QVERIFY2(m_texts.size() > 80, qPrintable(QString::number(m_texts.size())));
}

QMap<QString, bool> ExampleProjectTest::textsOf(const QString &example)
{
    QMap<QString, bool> texts;
    QTemporaryDir folder;
    const QString found = folder.filePath(u"found.ts"_qs);
    QProcess lupdate;
    lupdate.setProcessChannelMode(QProcess::MergedChannels);
    lupdate.start(QStringLiteral(DORVANE_LUPDATE),
                  {QStringLiteral(DORVANE_SOURCE_DIR "/examples/common"),
                   QStringLiteral(DORVANE_SOURCE_DIR "/examples/") + example, u"-ts"_qs, found});
    if (lupdate.waitForFinished() && lupdate.exitCode() == 0)
        readTexts(found, &texts);
    else
        qWarning("%s%s", qPrintable(lupdate.errorString()), lupdate.readAll().constData());
    return texts;
}

// One project serves both, so a text of one that the other does not ask for would be missing or superfluous.
void ExampleProjectTest::theExamplesSayTheSame()
{
    QCOMPARE(textsOf(u"quick"_qs), m_texts);
}

void ExampleProjectTest::readTexts(const QString &path, QMap<QString, bool> *texts)
{
    QFile file(path);
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.errorString()));
    QXmlStreamReader xml(&file);
    bool numerus = false;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement())
            continue;
        if (xml.name() == u"message")
            numerus = xml.attributes().value(u"numerus"_qs) == u"yes";
        else if (xml.name() == u"source")
            texts->insert(xml.readElementText(), numerus);
    }
    QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
}

void ExampleProjectTest::readFile(const QString &path, QList<Unit> *units)
{
    QFile file(path);
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(path + u": " + file.errorString()));
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == u"trans-unit")
            units->append(readUnit(xml));
    }
    QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
}

void ExampleProjectTest::languageFiles_data()
{
    const DVRows<QString, QString> row("path", "language");
    for (const char *language : {"en", "fr", "pl", "ar", "ja"})
        row(language, u"examples/project/%1.xlf"_qs.arg(QLatin1StringView(language)),
            QString::fromLatin1(language));
    row("fr, as it is published later", u"examples/project-update/fr.xlf"_qs, u"fr"_qs);
}

void ExampleProjectTest::languageFiles()
{
    QFETCH(QString, path);
    QFETCH(QString, language);
    QList<Unit> units;
    readFile(QStringLiteral(DORVANE_SOURCE_DIR "/") + path, &units);

    QMap<QString, QStringList> categories;
    for (const Unit &unit : std::as_const(units)) {
        QVERIFY2(m_texts.contains(unit.key), qPrintable(u"nobody asks for: "_qs + unit.key));
        QVERIFY2(!unit.target.isEmpty(), qPrintable(u"no translation: "_qs + unit.key));
        QVERIFY2(!unit.percentOutside, qPrintable(u"percent sign outside <ph>: "_qs + unit.key));
        categories[unit.key].append(unit.category);
        checkPlaceholders(language, unit);
        checkScript(language, unit);
    }
    for (auto text = m_texts.cbegin(); text != m_texts.cend(); ++text) {
        QVERIFY2(categories.contains(text.key()), qPrintable(u"missing: "_qs + text.key()));
        if (text.value())
            checkForms(language, text.key(), categories[text.key()]);
        else
            QCOMPARE(categories[text.key()], QStringList{QString()});
    }
}

// The forms that whole numbers need, each once; beyond them only those that the language has for
// fractions and the like. CLDR's rules come from ICU, and the library must ask for no other form.
void ExampleProjectTest::checkForms(const QString &language, const QString &key,
                                    const QStringList &categories)
{
    const auto rules = pluralRules(language);
    for (int n = 0; n <= 1000; ++n) {
        const QString needed = fromIcu(rules->select(n));
        QVERIFY2(categories.count(needed) == 1, qPrintable(key + u" [" + needed + u"]"));
        QCOMPARE(DVPluralForm::pluralFormForValue(n, DVLocale(language)), needed);
    }
    for (const QString &category : categories)
        QVERIFY2(rules->isKeyword(icu::UnicodeString(category.utf16())),
                 qPrintable(key + u" [" + category + u"]"));
}

void ExampleProjectTest::checkPlaceholders(const QString &language, const Unit &unit)
{
    QStringList expected = placeholdersOf(unit.key);
    if (unit.placeholders == expected)
        return;
    // "Every day", "two days": a form that stands for 0, 1 or 2 only may say so in words.
    const auto rules = pluralRules(language);
    for (int n = 3; n <= 1000; ++n)
        QVERIFY2(fromIcu(rules->select(n)) != unit.category, qPrintable(unit.key + u" -> " + unit.target));
    expected.removeOne(u"%Ln"_qs);
    QVERIFY2(unit.placeholders == expected, qPrintable(unit.key + u" -> " + unit.target));
}

// No English is left where a language has another script; "ml" and the letters of mnemonics may stay.
void ExampleProjectTest::checkScript(const QString &language, const Unit &unit)
{
    if (language != u"ar" && language != u"ja")
        return;
    QString text = unit.target;
    text.remove(placeholder()).remove(QRegularExpression(u"\\(&[A-Z]\\)|\\bml\\b"_qs));
    QVERIFY2(!text.contains(QRegularExpression(u"[A-Za-z]"_qs)), qPrintable(unit.target));
}

void ExampleProjectTest::libraryReadsWhatStandsThere_data()
{
    languageFiles_data();
}

// Mnemonics, quotes and placeholders included: the keys must be what tr() asks for.
void ExampleProjectTest::libraryReadsWhatStandsThere()
{
    QFETCH(QString, path);
    QList<Unit> units;
    readFile(QStringLiteral(DORVANE_SOURCE_DIR "/") + path, &units);
    QFile file(QStringLiteral(DORVANE_SOURCE_DIR "/") + path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    DVErrorOr error;
    const auto strings = DVXliffParser::parseXliffData(file.readAll(), 1, &error, false);
    QVERIFY2(!error, qPrintable(error ? error->description : QString()));
    QCOMPARE(strings.size(), m_texts.size());
    for (const Unit &unit : std::as_const(units)) {
        const DVStringGroupPtr group = strings.value(unit.key);
        QVERIFY2(group, qPrintable(unit.key));
        const DVStringPtr form = group->stringForPluralForm(unit.category, true);
        QVERIFY2(form, qPrintable(unit.key + u" [" + unit.category + u"]"));
        QCOMPARE(form->localizedFormat, unit.target);
    }
}

void ExampleProjectTest::newPublicationDiffers()
{
    QList<Unit> before;
    QList<Unit> after;
    readFile(QStringLiteral(DORVANE_SOURCE_DIR "/examples/project/fr.xlf"), &before);
    readFile(QStringLiteral(DORVANE_SOURCE_DIR "/examples/project-update/fr.xlf"), &after);
    QCOMPARE(after.size(), before.size());
    int changed = 0;
    for (qsizetype i = 0; i < before.size(); ++i)
        changed += int(before[i].target != after[i].target);
    QVERIFY(changed > 0);
}

QTEST_GUILESS_MAIN(ExampleProjectTest)
#include "tst_example_project.moc"
