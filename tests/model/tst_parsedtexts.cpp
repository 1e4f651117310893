// What looks like a shortcut, a filter, a format or an address, and what only nearly does.
#include "DVParsedTexts.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

enum Kind { Label, Shortcut, FileFilter, DateFormat, NumberFormat, Address, NothingToTranslate };

struct Rows
{
    Kind kind;
    const char *why;
    QList<const char *> texts;
};

const QList<Rows> &rows()
{
    static const QList<Rows> all{
        {Shortcut,
         "a modifier and a key",
         {"Ctrl+S", "ctrl+shift+n", "Alt+Shift+Del", "Meta+F12", "Ctrl+Home", "Shift+Delete", "Ctrl++",
          "Ctrl+,", "Ctrl+Page Up", "Ctrl + S", "Num+5", "Ctrl+Media Play", "Alt+Left"}},
        {Shortcut,
         "a key without a modifier whose name is no word",
         {"F1", "F35", "Del", "Ins", "Esc", "PgUp", "PgDown"}},
        {Shortcut, "several combinations", {"Ctrl+K, Ctrl+C", "Ctrl+X, Ctrl+S, F5", "Del, Ins"}},
        {Shortcut, "the beginning of one, to which a key is added", {"Ctrl+", "Alt+"}},
        {Shortcut,
         "the modifiers of other languages",
         {"Strg+S", "Strg+Umschalt+N", "Maj+F5", "Strg+Entf+A"}},
        {Label,
         "keys that are words of buttons",
         {"Delete", "Home", "Back", "Help", "Search", "Menu", "Shift", "Space"}},
        {Label,
         "a sum of other things",
         {"C++", "A+B", "Wi+Fi", "Rock + Pop", "1 + 1 is two", "Google Plus", "B+W"}},
        {Label, "a shortcut in a sentence", {"F5 key", "Press Ctrl+S to save", "Save, F5", "Open (Ctrl+O)"}},
        {Label, "no function key", {"F0", "F36", "F1x", "Fa", "F 5"}},
        {FileFilter,
         "names with patterns",
         {"Images (*.png *.jpg)", "All files (*)", "Text files (*.txt);;All files (*)",
          "C++ sources (*.cpp *.h)", "Archives (*.tar.gz;*.zip)", "Data (data*.csv)"}},
        {FileFilter, "patterns alone", {"*.png", "*.png *.jpg", "*.txt;*.md"}},
        {Label,
         "brackets with something else",
         {"Save (draft)", "Photos (12)", "Rating (* is poor)", "Name (required)"}},
        {Label, "a star in a text", {"* required", "5* hotel", "New* file"}},
        {DateFormat,
         "dates and times",
         {"dd.MM.yyyy hh:mm", "ddd MMM d", "MMM d, yyyy", "d. MMMM yyyy", "yyyy-MM-dd", "yyyy-MM-ddTHH:mm:ss",
          "yyyy-MM-ddTHH:mm:ss.zzzZ", "h:mm ap", "h:mm AP", "HH:mm:ss.zzz", "h 'o''clock'",
          "d 'de' MMMM 'de' yyyy", "dddd, d MMMM", "d/M/yy", "HH:mm t"}},
        {DateFormat, "fields that touch", {"yyyyMMdd", "HHmmss", "hhmm", "yyyyMMddhhmmss"}},
        {DateFormat, "one field", {"dddd", "MMMM", "yyyy", "hh", "zzz", "ap"}},
        {DateFormat, "with the units of other scripts", {"yyyy年M月d日", "yyyy년 M월 d일"}},
        {DateFormat, "of strftime", {"%Y-%m-%d", "%d/%m/%Y", "%H:%M", "%I:%M %p"}},
        {Label,
         "words of the same letters",
         {"Mr", "day", "My", "ham", "Hmm", "sad", "Add", "had", "mad", "Ad", "shy", "Sat", "dam", "hymn",
          "am", "Tat"}},
        {Label, "a field and a word", {"MMM and so on", "dd of each", "yyyy or yy?"}},
        {Label, "printf's", {"%d/%d", "%s: %d", "%d of %u"}},
        {NumberFormat, "numbers", {"#,##0.00", "#,##0.00 kg", "EUR #,##0", "##0.0 'm'", "0.0# m", "#0.00 s"}},
        {Label, "numbers in texts", {"Ticket #0", "No. 1", "#1 choice", "0 errors", "3.14 is pi"}},
        {Address,
         "where something is",
         {"https://example.com/help", "mailto:help@example.com", ":/pages/help.html", "qrc:/main.qml",
          "www.example.com", "file:///usr/share/doc"}},
        {Label,
         "an address in a sentence",
         {"See https://example.com/help", "a://b is odd", "At: /usr", "http"}},
        {NothingToTranslate, "one character", {"h", "M", "d", "S", "é", ",", "+", "5"}},
        {NothingToTranslate, "no letters", {"...", "100%", "->", "000.000;_", "--:--", "1/2", "  ", ""}},
        {Label, "signs around placeholders", {"%1 / %2", "%1: %L2", "(%n)", "%d %%"}},
        {Label,
         "ordinary texts",
         {"Save", "&Save", "Save as...", "OK", "No", "Hello, world", "保存", "保存する", "Ελλάδα", "🌍🌎"}},
    };
    return all;
}

} // namespace

class tst_ParsedTexts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void kinds_data();
    void kinds();
};

void tst_ParsedTexts::kinds_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("kind");
    for (const Rows &group : rows()) {
        for (const char *text : group.texts)
            QTest::addRow("%s: \"%s\"", group.why, text) << QString::fromUtf8(text) << int(group.kind);
    }
}

void tst_ParsedTexts::kinds()
{
    QFETCH(QString, text);
    QFETCH(int, kind);
    QCOMPARE(dv_looksLikeShortcut(text), kind == Shortcut);
    QCOMPARE(dv_looksLikeFileFilter(text), kind == FileFilter);
    QCOMPARE(dv_looksLikeDateFormat(text), kind == DateFormat);
    QCOMPARE(dv_looksLikeNumberFormat(text), kind == NumberFormat);
    QCOMPARE(dv_looksLikeAddress(text), kind == Address);
    QCOMPARE(dv_isForPrograms(text), kind != Label);
}

QTEST_GUILESS_MAIN(tst_ParsedTexts)
#include "tst_parsedtexts.moc"
