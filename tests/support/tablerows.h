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

/// Adds the rows of a table. Each is a name, ": " and a script that goes on in indented lines.
inline void AddScripts(const char *table)
{
    QTest::addColumn<QString>("row");
    const QString text = QString::fromUtf8(table).replace("\n    ", " ");
    for (const QString &row : text.split(u'\n', Qt::SkipEmptyParts))
        QTest::newRow(qPrintable(row.section(": ", 0, 0))) << row.section(": ", 1);
}

/// Runs the table's row, step by step: each stands there with what it is answered.
template <typename Script> void RunScript()
{
    QFETCH(const QString, row);
    Script script;
    for (const QString &step : row.split("; "))
        QCOMPARE(script.Do(step), step);
}
