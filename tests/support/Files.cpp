// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/support/Files.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray contentOf(const char *path)
{
    return contentOf(QFile::decodeName(path));
}

QByteArrayList linesWith(const QByteArray &text, const QString &path)
{
    QByteArrayList lines;
    for (const QByteArray &line : contentOf(path).split('\n')) {
        if (line.contains(text)) {
            lines += line;
        }
    }
    return lines;
}

QByteArrayList linesWith(const QByteArray &text, const char *path)
{
    return linesWith(text, QFile::decodeName(path));
}

void writeContent(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.flush()) {
        qFatal("cannot write %s: %s", qPrintable(path), qPrintable(file.errorString()));
    }
}

void writeContent(const char *path, const QByteArray &content)
{
    writeContent(QFile::decodeName(path), content);
}

void writeProgram(const QString &path, const QByteArray &script)
{
    QFile::remove(path);
    writeContent(path, script);
    QFile::setPermissions(path, QFile::Permissions(0x7755));
}

void writeProgram(const char *path, const QByteArray &script)
{
    writeProgram(QFile::decodeName(path), script);
}

QStringList openFiles()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
}
