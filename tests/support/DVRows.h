// DVRows: the columns of a data-driven test and its rows, a line each.
#pragma once

#include <QTest>

#include <type_traits>

//     const DVRows<const char *, int> row("text", "length");
//     row("two letters", "ab", 2);
// A column given as `const char *` holds the QString of that UTF-8.
template<typename... Types> class DVRows
{
public:
    template<typename... Names> explicit DVRows(Names... names)
    {
        (QTest::addColumn<Column<Types>>(names), ...);
    }

    void operator()(const char *title, const std::type_identity_t<Types> &...values) const
    {
        (QTest::newRow(title) << ... << values);
    }

private:
    template<typename Type>
    using Column = std::conditional_t<std::is_same_v<Type, const char *>, QString, Type>;
};
