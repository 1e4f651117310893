// DVTestTable: the columns of a test's data, and then its rows, one call each.
#pragma once

#include <QTest>

// Made in a data function: const DVTestTable<int, QString> row("status", "error"); row("not found", 404,
// ...); Values are converted to the columns' types.
template<typename... Types> class DVTestTable
{
public:
    template<typename... Names> explicit DVTestTable(Names... names)
    {
        static_assert(sizeof...(Names) == sizeof...(Types));
        (QTest::addColumn<Types>(names), ...);
    }
    // Copies the name.
    void operator()(const char *name, const Types &...values) const
    {
        (QTest::newRow(name) << ... << values);
    }
};
