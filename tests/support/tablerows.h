#pragma once

#include <QtTest>

#include <initializer_list>

/// The rows of a table-driven test: records with a name, each fetched by the test as "row".
template <typename Row> void AddRows(std::initializer_list<Row> rows)
{
    QTest::addColumn<Row>("row");
    for (const Row &row : rows)
        QTest::newRow(row.name) << row;
}
