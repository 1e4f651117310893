// Fields of the host's that hold clean text, while the marked one is remembered beside it (DVMarkedTexts).
#pragma once

#include <QLineEdit>
#include <QPointer>
#include <QString>
#include <QStringView>

#include <memory>
#include <optional>

class QAbstractSpinBox;
class QComboBox;
class QObject;
class QPlainTextEdit;
class QTextDocument;
class QTextEdit;

// Whether a text holds what our lookups put around strings. U+200B alone inside a text is the writer's: some
// scripts break their lines there.
bool dv_holdsCues(QStringView text);
// Where a place in a text is once its markers are gone.
qsizetype dv_placeWithoutCues(QStringView text, qsizetype place);

// Each of them takes the markers out of what the field holds and remembers the marked text; nothing happens
// to one without markers. Cursor, selection and the modified flag stay. What could be undone is forgotten, as
// with any text that an application sets.
enum class DVTelling {
    Nobody,   // the host is told nothing: nobody has seen the marked text change
    Listeners // the change signal says once more what is held: it said the marked text before
};
void dv_cleanLineEdit(QLineEdit &edit); // nobody is told
void dv_cleanTextEdit(QTextEdit &edit, DVTelling telling);
void dv_cleanPlainTextEdit(QPlainTextEdit &edit, DVTelling telling);
// Prefix, suffix and special text.
void dv_cleanSpinBox(QAbstractSpinBox &box);
// The texts of its entries where its model is a QStandardItemModel, as it is without the host's doing. Other
// models are the host's: what their data() says cannot be changed.
void dv_cleanEntries(QComboBox &box, int first, int last);

// A text property that nothing follows but its own change signal, such as a title; the host is not told.
void dv_cleanProperty(QObject &object, const char *property);

// Cleans a line edit whenever its text changes, and tells those who listen the clean text: at once, and,
// since who began to listen after us hears the marked text of the change last, once more from the event loop.
// A host that answers by setting the same marked text again, as one does that formats what it hears, comes to
// an end as it does without us: from the fourth time in a turn of the event loop the text stays until the
// turn's end. Kept by the connection to the edit's signal.
class DVLineEditCleaner : public std::enable_shared_from_this<DVLineEditCleaner>
{
public:
    explicit DVLineEditCleaner(QLineEdit &edit);

    void textChanged();

private:
    void tell(const QString &clean);
    void postEndOfTurn();
    void endTurn();

    const QPointer<QLineEdit> m_edit;
    std::optional<QString> m_clean; // of this turn
    std::optional<QString> m_told;  // while the signal goes on
    int m_times = 0;                // that it was set in this turn
};
