// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tests/endtoend/Client.h"
#include "tests/endtoend/PamState.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QObject>

/// The account policytester, which ClientFixture makes; its home folder isn't there.
inline constexpr int accountId = 4321;
inline constexpr char accountHome[] = "/run/home-of-policytester";

/// The policies that ClientFixture puts in force: one as a table, all as a document.
extern const char complexityTable[];
extern const char fullDocument[];

/// A document of the expiration policy alone.
QByteArray document(const QByteArray &expiration);

/// What is said where /etc/default/useradd is missing.
extern const char unreadableExpiration[];

/// What the client says of an error.
QByteArray complaint(const QByteArray &text);

/// A disk over the folder @p path, without room for a single byte more.
ScopedMount fullDisk(const QString &path);

/// Puts the same policies in force before each test of the client, whose history is empty then.
class ClientFixture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

protected:
    PamState m_stockPam;
    QByteArray m_tool = contentOf(toolPath());
};
