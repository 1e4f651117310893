// DVXliffDocument: an XLIFF document that is being written, and which parts of it are markup.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringView>

// A text may hold whatever markup holds: "</target>", "&amp;", a placeholder element that somebody typed.
// Once it stands in a document nobody can tell them apart, so the document remembers where the values are.
class DVXliffDocument
{
public:
    enum class Kind { Text, Attribute };
    // What comes from records and settings, and stands for itself: [begin, end) of the document.
    struct Value
    {
        Kind kind = Kind::Text;
        qsizetype begin = 0;
        qsizetype end = 0;
    };

    void addMarkup(QStringView markup) { m_text += markup; }
    // The text of an element.
    void addText(QStringView text) { addValue(text, Kind::Text); }
    // The value of an attribute, between double quotes that are markup.
    void addAttribute(QStringView value) { addValue(value, Kind::Attribute); }
    void addDocument(const DVXliffDocument &other);

    // As it was put together.
    const QString &text() const { return m_text; }
    // In order; two of a kind do not touch.
    const QList<Value> &values() const { return m_values; }

private:
    void addValue(QStringView value, Kind kind);

    QString m_text;
    QList<Value> m_values;
};

// The bytes of the document, UTF-8, in which each value reads back as it was. Characters that XML 1.0 does
// not have cannot: control characters become their pictures (U+2400 to U+241F), as keys have them everywhere,
// and U+FFFE, U+FFFF and halves of surrogate pairs become U+FFFD. One pass, linear.
QByteArray dv_escapedXliff(const DVXliffDocument &document);
