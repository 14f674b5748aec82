// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "tests/endtoend/Client.h"
#include "tests/endtoend/PamState.h"
#include "tests/endtoend/PolicyFiles.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QObject>

/// A document of the expiration policy alone.
QByteArray document(const QByteArray &expiration);

/// A disk over the folder @p path, without room for a single byte more.
ScopedMount fullDisk(const QString &path);

/**
 * Puts the same policies in force before each test of the client, whose history is empty then. The stock common-auth is
 * in /run/stock then. There is an account policytester, with the number 4321, and not yet its home /run/home-of-policytester.
 */
class ClientFixture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

private:
    PamState m_stockPam;
    QByteArray m_tool = contentOf(toolFile);
};
