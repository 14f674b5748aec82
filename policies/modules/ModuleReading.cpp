// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/ModuleReading.h"

#include "policies/modules/ModuleFile.h"
#include "policies/modules/PamStack.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <algorithm>

namespace
{
/// Where libpam looks for modules: below the folder of the machine's architecture, or of none; /lib is a link to /usr/lib.
QStringList securityFolders()
{
    QStringList folders{QStringLiteral("/usr/lib/security")};
    const QDir libraries(QStringLiteral("/usr/lib"));
    const auto architectures = libraries.entryList({QStringLiteral("*-linux-*")}, QDir::Dirs);
    for (const QString &architecture : architectures) {
        folders += libraries.filePath(architecture) + QLatin1String("/security");
    }
    return folders;
}

QStringList possiblePaths(const QString &module)
{
    static const QStringList folders = securityFolders();
    QStringList paths;
    for (const QString &folder : folders) {
        paths += folder + QLatin1Char('/') + module + QLatin1String(".so");
    }
    return paths;
}

/// All of a file; a missing one is empty. Otherwise the error is noted.
QByteArray contentOf(const QString &root, const QString &path, ModuleReading *reading)
{
    reading->paths += path;
    QFile file(root + path);
    if (file.open(QIODevice::ReadOnly)) {
        return file.readAll();
    }
    if (file.exists()) {
        reading->error = path + QLatin1String(": ") + file.errorString();
    }
    return {};
}

void readLines(const ModulePolicy &policy, const QString &root, ModuleReading *reading)
{
    const QByteArray name = policy.module.toLatin1();
    const QString folder = QStringLiteral("/etc/pam.d");
    reading->paths += folder;
    for (const QString &service : pamServices(root)) {
        const QString path = folder + QLatin1Char('/') + service;
        const QByteArray content = contentOf(root, path, reading);
        if (!content.contains(name)) {
            continue; // most files have no such line, and cutting all of them into words takes time
        }
        for (const PamStackLine &line : pamStackLines(content)) {
            if (line.calls(policy.module) && policy.types.contains(line.type)) {
                reading->lines += ModuleLine{path, line.number, line.type, line.options};
            }
        }
    }
}

/// The stack of a type that pam-auth-update(8) writes.
QString stackOf(const QString &type)
{
    return QLatin1String("/etc/pam.d/common-") + type;
}

/// What pam-auth-update(8) has put into the stack of a type.
struct RecordedStack {
    /// Those of our profiles that it has.
    QStringList profiles;
    /// How many lines of theirs call the module.
    qsizetype lines = 0;
};

RecordedStack recordOf(const ModulePolicy &policy, const QString &type, const QString &root, ModuleReading *reading)
{
    RecordedStack record;
    QString profile;
    const auto lines = contentOf(root, QLatin1String("/var/lib/pam/") + type, reading).split('\n');
    for (const QByteArray &line : lines) {
        const QByteArray start = "Module: ";
        if (line.startsWith(start)) {
            profile = QString::fromUtf8(line.mid(start.size()));
        } else if (policy.profiles.contains(profile) && line.contains(policy.module.toLatin1() + ".so")) {
            record.profiles += profile;
            ++record.lines;
        }
    }
    return record;
}

bool enforces(const ModulePolicy &policy, const ModuleLine &line)
{
    return policy.enforcingOption.isEmpty() || line.options.contains(policy.enforcingOption);
}

/// Marks the lines that come from our profiles; whether each of the profiles has all of its lines.
bool markOurs(const ModulePolicy &policy, const QString &root, ModuleReading *reading)
{
    QStringList profiles;
    bool areWhole = !policy.profiles.isEmpty();
    for (const QString &type : policy.types) {
        const RecordedStack record = recordOf(policy, type, root, reading);
        profiles += record.profiles;
        qsizetype left = record.lines;
        for (ModuleLine &line : reading->lines) {
            line.isOurs = line.isOurs || (left > 0 && line.type == type && line.path == stackOf(type));
            left -= line.isOurs && line.type == type ? 1 : 0;
        }
        areWhole = areWhole && left == 0;
    }
    return areWhole && std::all_of(policy.profiles.begin(), policy.profiles.end(), [&profiles](const QString &name) {
               return profiles.contains(name);
           });
}

ModuleForce forceOf(const ModulePolicy &policy, const QVector<ModuleLine> &lines, bool areOursWhole)
{
    const bool areOthers = std::any_of(lines.begin(), lines.end(), [&policy](const ModuleLine &line) {
        return !line.isOurs && enforces(policy, line);
    });
    return areOthers ? ModuleForce::OtherLines : areOursWhole ? ModuleForce::OurProfiles : ModuleForce::None;
}

/// Of the line that enforces it; the one that others include comes first.
const ModuleLine *settingLineOf(const ModulePolicy &policy, const QVector<ModuleLine> &lines)
{
    for (const ModuleLine &line : lines) {
        if (enforces(policy, line)) {
            return &line;
        }
    }
    return nullptr;
}

void readValues(const ModulePolicy &policy, const QString &root, ModuleReading *reading)
{
    if (moduleReadsFile(policy)) {
        reading->source = policy.path;
        QString fault;
        reading->values = moduleFileValues(policy, contentOf(root, policy.path, reading), &fault);
        if (!fault.isEmpty()) {
            reading->error = policy.path + QLatin1String(": ") + fault;
        }
        return;
    }
    const ModuleLine *line = settingLineOf(policy, reading->lines);
    reading->source = line ? line->path : stackOf(policy.types.constFirst());
    reading->values = line ? moduleOptionValues(policy, line->options) : QVariantMap();
}
}

ModuleReading readModule(const ModulePolicy &policy, const QString &root)
{
    ModuleReading reading;
    reading.modulePath = pamModulePath(policy.module);
    reading.paths = possiblePaths(policy.module);
    readLines(policy, root, &reading);
    const bool areOursWhole = markOurs(policy, root, &reading);
    reading.force = forceOf(policy, reading.lines, areOursWhole);
    readValues(policy, root, &reading);
    return reading;
}

QString pamModulePath(const QString &module)
{
    const QStringList paths = possiblePaths(module);
    for (const QString &path : paths) {
        if (QFile::exists(path)) {
            return path;
        }
    }
    return {};
}

bool moduleReadsFile(const ModulePolicy &policy)
{
    if (policy.readContent) {
        return true; // by a library
    }
    QFile module(pamModulePath(policy.module));
    // a module has the path of what it reads in its text
    return !module.open(QIODevice::ReadOnly) || module.readAll().contains(policy.path.toLatin1());
}
