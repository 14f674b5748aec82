// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QTest>

#include <type_traits>

/// A text in a row, which may be written as a literal in UTF-8. It is fetched as a QString.
struct RowText : QString {
    // cppcheck-suppress noExplicitConstructor
    RowText(const char *literal) : QString(QString::fromUtf8(literal))
    {
    }
    // cppcheck-suppress noExplicitConstructor
    RowText(const QString &text) : QString(text)
    {
    }
};

/// A test's data: made with the names of the columns, called with each row's name and cells.
template<typename... Cells>
class Rows
{
public:
    template<typename... Names>
    explicit Rows(Names... names)
    {
        (QTest::addColumn<Fetched<Cells>>(names), ...);
    }

    void operator()(const char *row, const Cells &...cells) const
    {
        (QTest::newRow(row) << ... << static_cast<const Fetched<Cells> &>(cells));
    }

private:
    template<typename Cell>
    using Fetched = std::conditional_t<std::is_same_v<Cell, RowText>, QString, Cell>;
};
