// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tests/differential/FileGenerator.h"
#include "tests/endtoend/PamState.h"

/**
 * The files of PAM on this machine, as packages, administrators and accidents make them. The same seed makes the same
 * ones. Sandbox only.
 */
class PamMachine
{
public:
    /// @param generator outlives this object
    explicit PamMachine(FileGenerator *generator);

    /// As the packages have brought them.
    void restore();
    /// Makes some changes to what there is, in @p kind's policy and elsewhere.
    void disturb(Kind kind);

    /// The lines that disturb() has put into stacks since the last restore(), each like no other.
    QByteArrayList addedLines() const;

private:
    QByteArray anyOf(const QByteArrayList &texts);
    bool oneOf(int chances);
    QString anyStack();
    /// Changes one line of a stack; a line that comes back null goes.
    template<typename Change>
    void changeLine(const Change &change);

    void addLine();
    void addLineToManagedBlock();
    void editOptions();
    void breakLine();
    void loseFile();
    void writeProfile(Kind kind);
    void addProfile();
    void switchDefault();
    void select();
    void retireModules();

    FileGenerator *m_generator;
    PamState m_stock;
    QByteArray m_tool;
    QByteArray m_answers;
    QByteArrayList m_added;
    int m_number = 0;
};
