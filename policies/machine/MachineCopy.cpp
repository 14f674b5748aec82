// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/machine/MachineCopy.h"

#include "policies/machine/HelperSurroundings.h"
#include "policies/pam/PamPolicyUpdate.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>

namespace
{
QString databasePath()
{
    return QStringLiteral("/var/cache/debconf/config.dat");
}

/// By the user's copy of the answers. The templates are new each time: the tool loads what it asks by itself.
QByteArray debconfSetup(const QString &root)
{
    return "Config: config\nTemplates: templates\n\nName: config\nDriver: File\nFilename: "
        + QFile::encodeName(root + databasePath())
        + "\n\nName: templates\nDriver: File\nFilename: " + QFile::encodeName(root) + "/templates.dat\n";
}

QString setupName()
{
    return QStringLiteral("/debconf.conf");
}

/// In front of the tool's arguments.
QStringList rootOption(const QString &root)
{
    return {QStringLiteral("--root"), root};
}
}

MachineCopy::MachineCopy()
{
    if (!m_folder.isValid()) {
        note(QDir::tempPath() + QLatin1String(": ") + m_folder.errorString());
    }
}

QString MachineCopy::root() const
{
    return m_folder.path();
}

void MachineCopy::takeFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        // one that is renamed by somebody else just now is none
        if (QFile::exists(path)) {
            note(path + QLatin1String(": ") + file.errorString());
        }
        return;
    }
    const QByteArray content = file.readAll();
    if (write(path, content)) {
        m_taken.insert(path, content.isNull() ? QByteArray("") : content);
    }
}

void MachineCopy::takeFolder(const QString &folder, const QString &pattern)
{
    const QDir machine(folder);
    if (!machine.exists() || !m_folder.isValid()) {
        return;
    }
    QDir().mkpath(root() + folder);
    if (!machine.isReadable()) {
        note(folder);
        return;
    }
    const auto entries = machine.entryInfoList({pattern}, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    for (const QFileInfo &entry : entries) {
        if (entry.isDir()) {
            QDir().mkpath(root() + entry.filePath());
        } else {
            takeFile(entry.filePath());
        }
    }
}

QString MachineCopy::error() const
{
    return m_error;
}

QByteArray MachineCopy::taken(const QString &path) const
{
    return m_taken.value(path);
}

QVector<FilePreview> MachineCopy::changes(const QStringList &paths) const
{
    QVector<FilePreview> changes;
    for (const QString &path : paths) {
        QFile file(root() + path);
        const FilePreview preview{
            path, taken(path), file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray(), {}};
        if (preview.before != preview.after) {
            changes += preview;
        }
    }
    return changes;
}

QStringList MachineCopy::files(const QString &folder) const
{
    const QString start = folder + QLatin1Char('/');
    QStringList paths = m_taken.keys();
    const auto names = QDir(root() + folder).entryList(QDir::Files | QDir::Hidden);
    for (const QString &name : names) {
        paths += start + name;
    }
    paths = paths.filter(QRegularExpression(QLatin1Char('^') + QRegularExpression::escape(start)));
    paths.removeDuplicates();
    paths.sort();
    return paths;
}

Command MachineCopy::pamAuthUpdate() const
{
    return onCopies(::pamAuthUpdate());
}

Command MachineCopy::onCopies(Command tool) const
{
    tool.arguments = rootOption(root()) + tool.arguments;
    tool.environment = helperEnvironment();
    tool.environment.insert(QStringLiteral("DEBCONF_SYSTEMRC"), root() + setupName());
    return tool;
}

QString MachineCopy::aboutMachine(QString text) const
{
    return text.remove(rootOption(root()).join(QLatin1Char(' ')) + QLatin1Char(' ')).remove(root());
}

void MachineCopy::takeDebconf()
{
    takeFile(databasePath());
    write(setupName(), debconfSetup(root()));
}

void MachineCopy::note(const QString &problem)
{
    if (m_error.isEmpty()) {
        m_error = problem;
    }
}

bool MachineCopy::write(const QString &path, const QByteArray &content)
{
    if (!m_folder.isValid()) {
        return false; // or the files themselves would be the copies
    }
    QFile copy(root() + path);
    QDir().mkpath(QFileInfo(copy).path());
    // looks at the end, too: what doesn't fit shows there
    if (copy.open(QIODevice::WriteOnly) && copy.write(content) == content.size() && copy.flush()) {
        return true;
    }
    // Qt has no text for a write that ends too early
    const bool isPart = copy.isOpen();
    note(copy.fileName() + QLatin1String(": ")
         + (isPart ? QCoreApplication::translate("MachineCopy", "cannot be written as a whole") : copy.errorString()));
    return false;
}
