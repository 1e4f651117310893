// DVRows: the columns of a data-driven test and its rows, a line each.
#pragma once

#include <QStringList>
#include <QTest>

#include <initializer_list>
#include <type_traits>

namespace DVCells {

// A text, or UTF-8 that becomes one but for a byte order mark at its beginning; nullptr is the null text.
struct Text : QString
{
    Text() = default;
    Text(const char *utf8)
        : QString(QString::fromUtf8(utf8))
    {}
    template<typename T, std::enable_if_t<std::is_convertible_v<const T &, QString>, bool> = true>
    Text(const T &text)
        : QString(text)
    {}
};

struct Texts : QStringList
{
    Texts() = default;
    Texts(const QStringList &texts)
        : QStringList(texts)
    {}
    Texts(std::initializer_list<Text> texts)
        : QStringList(texts.begin(), texts.end())
    {}
};

template<typename Type> struct Cell
{
    using Column = Type;
    using Given = Type;
};
template<> struct Cell<QString>
{
    using Column = QString;
    using Given = Text;
};
template<> struct Cell<const char *> : Cell<QString>
{};
template<> struct Cell<QStringList>
{
    using Column = QStringList;
    using Given = Texts;
};

} // namespace DVCells

//     const DVRows<QString, QStringList, int> row("text", "words", "length");
//     row("two words", "Hello World", {"Hello", "World"}, 11);
// A column given as `const char *` holds QStrings, too.
template<typename... Types> class DVRows
{
public:
    template<typename... Names> explicit DVRows(Names... names)
    {
        (QTest::addColumn<typename DVCells::Cell<Types>::Column>(names), ...);
    }

    void operator()(const char *title, const typename DVCells::Cell<Types>::Given &...cells) const
    {
        (QTest::newRow(title) << ... << static_cast<const typename DVCells::Cell<Types>::Column &>(cells));
    }
};
