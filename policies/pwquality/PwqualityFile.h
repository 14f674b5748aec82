// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

/**
 * What a file of this content sets of pwqualityPolicy(), by the library that the module reads it with.
 *
 * @param error receives what is wrong with it, where the library reads no further; empty if nothing is
 */
QVariantMap pwqualityFileValues(const QByteArray &content, QString *error);
