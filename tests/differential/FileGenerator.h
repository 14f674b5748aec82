// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArrayList>
#include <QRandomGenerator>
#include <QStringList>
#include <QVariantMap>

#include <cstddef>

/// The files that the policies are read from.
enum class Kind { LoginDefs, UseraddDefaults, CommonAuth, CommonPassword };

inline constexpr Kind allKinds[] = {Kind::LoginDefs, Kind::UseraddDefaults, Kind::CommonAuth, Kind::CommonPassword};

/// Where the system has it.
QString pathOf(Kind kind);
/// What the second readings call it.
QByteArray nameOf(Kind kind);
/// A PAM module's words for them: "KIND MODULE,MODULE FLAG,FLAG NUMBER,NUMBER".
QByteArray wordsOf(Kind kind);
/// The flags that a read always gives.
QStringList flagsOf(Kind kind);

/**
 * Makes up files as people, distributions and accidents write them, and arguments of writes. The same seed makes the
 * same ones.
 */
class FileGenerator
{
public:
    explicit FileGenerator(quint32 seed);

    /// Anything: settings in all spellings, comments, other settings, torn and odd lines.
    QByteArray file(Kind kind);
    /// Only lines that every reader of the format takes alike: complete settings, comments and empty lines, all ended.
    QByteArray plainFile(Kind kind);
    /// As file(), with one complete line of the PAM module at least.
    QByteArray profile(Kind kind);

    /// Some or all of a file's arguments of a write, in the types that a read gives.
    QVariantMap arguments(Kind kind);
    /// Any of @p from to @p to.
    int number(int from, int to);

private:
    /// A number as plain files have it; -1 means that there is no limit.
    int numberOf(Kind kind);
    bool oneOf(int chances);
    template<std::size_t size>
    QByteArray pick(const char *const (&texts)[size]);
    QByteArray pick(const QByteArrayList &texts);
    QByteArray someOf(const QByteArrayList &texts, int most);

    QByteArray blank();
    QByteArray value(Kind kind);
    QByteArray setting(Kind kind);
    QByteArray moduleLine(Kind kind);
    QByteArray line(Kind kind);
    QByteArray plainSetting(Kind kind);
    QByteArray plainModuleLine(Kind kind);
    QByteArray plainDate();
    QByteArray plainLine(Kind kind);

    QRandomGenerator m_random;
};
