// What looks like a shortcut, a filter, a format or an address, and what only nearly does.
#include "DVParsedTexts.h"
#include "DVRows.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

enum Kind { Label, Shortcut, FileFilter, DateFormat, NumberFormat, Address, NothingToTranslate };

} // namespace

class tst_ParsedTexts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void kinds_data()
    {
        const DVRows<QString, int> row("text", "kind");
        const auto rows = [&row](Kind kind, const char *why, std::initializer_list<const char *> texts) {
            for (const char *text : texts)
                row(qPrintable(
                        QStringLiteral("%1: \"%2\"").arg(QString::fromUtf8(why), QString::fromUtf8(text))),
                    text, kind);
        };
        rows(Shortcut, "a modifier and a key",
             {"Ctrl+S", "ctrl+shift+n", "Alt+Shift+Del", "Meta+F12", "Ctrl+Home", "Shift+Delete", "Ctrl++",
              "Ctrl+,", "Ctrl+Page Up", "Ctrl + S", "Num+5", "Ctrl+Media Play", "Alt+Left"});
        rows(Shortcut, "a key without a modifier whose name is no word",
             {"F1", "F35", "Del", "Ins", "Esc", "PgUp", "PgDown"});
        rows(Shortcut, "several combinations", {"Ctrl+K, Ctrl+C", "Ctrl+X, Ctrl+S, F5", "Del, Ins"});
        rows(Shortcut, "the beginning of one, to which a key is added", {"Ctrl+", "Alt+"});
        rows(Shortcut, "the modifiers of other languages",
             {"Strg+S", "Strg+Umschalt+N", "Maj+F5", "Strg+Entf+A"});
        rows(Label, "keys that are words of buttons",
             {"Delete", "Home", "Back", "Help", "Search", "Menu", "Shift", "Space"});
        rows(Label, "a sum of other things",
             {"C++", "A+B", "Wi+Fi", "Rock + Pop", "1 + 1 is two", "Google Plus", "B+W"});
        rows(Label, "a shortcut in a sentence",
             {"F5 key", "Press Ctrl+S to save", "Save, F5", "Open (Ctrl+O)"});
        rows(Label, "no function key", {"F0", "F36", "F1x", "Fa", "F 5"});
        rows(FileFilter, "names with patterns",
             {"Images (*.png *.jpg)", "All files (*)", "Text files (*.txt);;All files (*)",
              "C++ sources (*.cpp *.h)", "Archives (*.tar.gz;*.zip)", "Data (data*.csv)"});
        rows(FileFilter, "patterns alone", {"*.png", "*.png *.jpg", "*.txt;*.md"});
        rows(Label, "brackets with something else",
             {"Save (draft)", "Photos (12)", "Rating (* is poor)", "Name (required)"});
        rows(Label, "a star in a text", {"* required", "5* hotel", "New* file"});
        rows(DateFormat, "dates and times",
             {"dd.MM.yyyy hh:mm", "ddd MMM d", "MMM d, yyyy", "d. MMMM yyyy", "yyyy-MM-dd",
              "yyyy-MM-ddTHH:mm:ss", "yyyy-MM-ddTHH:mm:ss.zzzZ", "h:mm ap", "h:mm AP", "HH:mm:ss.zzz",
              "h 'o''clock'", "d 'de' MMMM 'de' yyyy", "dddd, d MMMM", "d/M/yy", "HH:mm t"});
        rows(DateFormat, "fields that touch", {"yyyyMMdd", "HHmmss", "hhmm", "yyyyMMddhhmmss"});
        rows(DateFormat, "one field", {"dddd", "MMMM", "yyyy", "hh", "zzz", "ap"});
        rows(DateFormat, "with the units of other scripts", {"yyyy年M月d日", "yyyy년 M월 d일"});
        rows(DateFormat, "of strftime", {"%Y-%m-%d", "%d/%m/%Y", "%H:%M", "%I:%M %p"});
        rows(Label, "words of the same letters",
             {"Mr", "day", "My", "ham", "Hmm", "sad", "Add", "had", "mad", "Ad", "shy", "Sat", "dam", "hymn",
              "am", "Tat"});
        rows(Label, "a field and a word", {"MMM and so on", "dd of each", "yyyy or yy?"});
        rows(Label, "printf's", {"%d/%d", "%s: %d", "%d of %u"});
        rows(NumberFormat, "numbers",
             {"#,##0.00", "#,##0.00 kg", "EUR #,##0", "##0.0 'm'", "0.0# m", "#0.00 s"});
        rows(Label, "numbers in texts", {"Ticket #0", "No. 1", "#1 choice", "0 errors", "3.14 is pi"});
        rows(Address, "where something is",
             {"https://example.com/help", "mailto:help@example.com", ":/pages/help.html", "qrc:/main.qml",
              "www.example.com", "file:///usr/share/doc"});
        rows(Label, "an address in a sentence",
             {"See https://example.com/help", "a://b is odd", "At: /usr", "http"});
        rows(NothingToTranslate, "one character", {"h", "M", "d", "S", "é", ",", "+", "5"});
        rows(NothingToTranslate, "no letters", {"...", "100%", "->", "000.000;_", "--:--", "1/2", "  ", ""});
        rows(Label, "signs around placeholders", {"%1 / %2", "%1: %L2", "(%n)", "%d %%"});
        rows(Label, "ordinary texts",
             {"Save", "&Save", "Save as...", "OK", "No", "Hello, world", "保存", "保存する", "Ελλάδα", "🌍🌎"});
    }
    void kinds()
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
};

QTEST_GUILESS_MAIN(tst_ParsedTexts)
#include "tst_parsedtexts.moc"
