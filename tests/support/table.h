// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_TABLE_H
#define HNIPC_TESTS_TABLE_H

#include <QtTest/QTest>

#include <cstddef>

// Adds a test row for each row of a table. The rows have a name.
template <typename Row, std::size_t count>
void addTable(const Row (&table)[count])
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < int(count); ++row) {
        QTest::newRow(table[row].name) << row;
    }
}

// The row of the table that the test function is called for.
template <typename Row, std::size_t count>
const Row &currentRow(const Row (&table)[count])
{
    QFETCH(int, row);
    return table[row];
}

#endif
