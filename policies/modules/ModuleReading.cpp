// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/ModuleReading.h"

#include "policies/modules/ModuleFile.h"
#include "policies/modules/PamStack.h"
#include "policies/modules/PrimaryBlock.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QMap>

#include <algorithm>
#include <sys/stat.h>
#include <utility>

namespace
{
/// Where libpam looks for modules: below the folder of its own architecture, or of none; /lib is a link to /usr/lib.
QStringList securityFolders()
{
    return {QStringLiteral("/usr/lib/security"), QStringLiteral(LIBRARIES "/security")};
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
    struct stat status = {};
    if (stat(QFile::encodeName(file.fileName()).constData(), &status) == 0 && S_ISFIFO(status.st_mode)) {
        // to open it would wait for a writer
        reading->error = path + QLatin1String(": ") + QCoreApplication::translate("ModuleReading", "is a pipe");
        return {};
    }
    if (file.open(QIODevice::ReadOnly)) {
        return file.readAll();
    }
    if (file.exists()) {
        reading->error = path + QLatin1String(": ") + file.errorString();
    }
    return {};
}

/// The stack of a type that pam-auth-update(8) writes.
QString stackOf(const QString &type)
{
    return QLatin1String("/etc/pam.d/common-") + type;
}

/// The path of a file that a line includes.
QString includedPath(const QString &file)
{
    return file.startsWith(QLatin1Char('/')) ? file : QLatin1String("/etc/pam.d/") + file;
}

bool includes(const PamStackLine &line, const QString &type)
{
    const bool isWord = !line.isBracketed && line.type == type;
    const QString control = line.control.toLower();
    return line.type == QLatin1String("@include")
        || (isWord && (control == QLatin1String("include") || control == QLatin1String("substack")));
}

/// The common stack of a type, and all that it includes.
QStringList commonFiles(const QString &type, const QString &root, ModuleReading *reading)
{
    QStringList files{stackOf(type)};
    for (int at = 0; at < files.size(); ++at) {
        const QByteArray content = contentOf(root, files.at(at), reading);
        if (!content.contains("include") && !content.contains("substack")) {
            continue;
        }
        const auto lines = pamStackLines(content);
        for (const PamStackLine &line : lines) {
            const QString path = includes(line, type) ? includedPath(line.module) : QString();
            if (!path.isEmpty() && !files.contains(path)) {
                files += path;
            }
        }
    }
    return files;
}

void readLines(const ModulePolicy &policy, const QString &root, ModuleReading *reading)
{
    const QByteArray name = policy.module.toLatin1();
    reading->paths += pamFolders();
    QStringList files;
    const auto services = pamServices(root);
    for (const QString &service : services) {
        files += pamServicePath(root, service);
    }
    QMap<QString, QStringList> common;
    for (const QString &type : policy.types) {
        common.insert(type, commonFiles(type, root, reading));
        files += common.value(type);
    }
    files.removeDuplicates();
    for (const QString &path : std::as_const(files)) {
        const QByteArray content = contentOf(root, path, reading);
        if (!content.contains(name)) {
            continue; // most files have no such line, and cutting all of them into words takes time
        }
        const auto lines = pamStackLines(content);
        for (const PamStackLine &line : lines) {
            if (line.calls(policy.module) && policy.types.contains(line.type)) {
                reading->lines += ModuleLine{
                    path, line.number, line.type, line.options, line.control, common.value(line.type).contains(path)};
            }
        }
    }
    std::stable_partition(reading->lines.begin(), reading->lines.end(), [](const ModuleLine &line) {
        return line.isCommon;
    });
}

/// What pam-auth-update(8) has put into the stack of a type.
struct RecordedStack {
    /// Those of our profiles that it has.
    QStringList profiles;
    /// Their lines that call the module.
    QVector<PamStackLine> lines;
    /// Whether it has ended before it put its record of them in place.
    bool isUnfinished = false;
};

RecordedStack recordIn(const ModulePolicy &policy, const QString &type, const QByteArray &content)
{
    RecordedStack record;
    QString profile;
    const auto lines = content.split('\n');
    for (const QByteArray &line : lines) {
        const QByteArray start = "Module: ";
        if (line.startsWith(start)) {
            profile = QString::fromUtf8(line.mid(start.size()));
        } else if (policy.profiles.contains(profile) && line.contains(policy.module.toLatin1() + ".so")) {
            record.profiles += profile;
            record.lines += pamStackLines(type.toLatin1() + ' ' + line); // they stand there without their type
        }
    }
    return record;
}

RecordedStack recordOf(const ModulePolicy &policy, const QString &type, const QString &root, ModuleReading *reading)
{
    const QString path = QLatin1String("/var/lib/pam/") + type;
    RecordedStack record = recordIn(policy, type, contentOf(root, path, reading));
    if (record.profiles.isEmpty()) {
        // the stack is renamed first, and then this to be the record
        record = recordIn(policy, type, contentOf(root, path + QLatin1String(".new"), reading));
        record.isUnfinished = !record.profiles.isEmpty();
    }
    return record;
}

/// Whether a line of the stack is a line of a profile. pam-auth-update(8) keeps options that are added.
bool isLineOf(const PamStackLine &profile, const ModuleLine &line)
{
    return line.control == profile.control && line.options.mid(0, profile.options.size()) == profile.options;
}

/// Marks the lines of a type that come from our profiles; whether each of the profiles has all of its lines.
bool markOurs(const RecordedStack &record, const QString &type, const PrimaryBlock &block, QVector<ModuleLine> *lines)
{
    return std::all_of(record.lines.begin(), record.lines.end(), [&](const PamStackLine &recorded) {
        const QVector<ModuleLine>::iterator place =
            std::find_if(lines->begin(), lines->end(), [&](const ModuleLine &line) {
                return !line.isOurs && line.type == type && line.path == stackOf(type) && block.contains(line.number)
                    && isLineOf(recorded, line);
            });
        if (place == lines->end()) {
            return false;
        }
        place->isOurs = true;
        return true;
    });
}

/// The same for all types, and whether all of our profiles are there.
bool markOurs(const ModulePolicy &policy, const QString &root, ModuleReading *reading)
{
    QStringList profiles;
    bool areWhole = !policy.profiles.isEmpty();
    for (const QString &type : policy.types) {
        const RecordedStack record = recordOf(policy, type, root, reading);
        profiles += record.profiles;
        const PrimaryBlock block(contentOf(root, stackOf(type), reading));
        // each of the types has a line: the tool may have ended between two stacks
        areWhole = markOurs(record, type, block, &reading->lines) && !record.lines.isEmpty() && !record.isUnfinished
            && areWhole;
    }
    return areWhole && std::all_of(policy.profiles.begin(), policy.profiles.end(), [&profiles](const QString &name) {
               return profiles.contains(name);
           });
}

ModuleForce forceOf(const ModulePolicy &policy, const QVector<ModuleLine> &lines, bool areOursWhole)
{
    const auto isAny = [&lines](const auto &wanted) {
        return std::any_of(lines.begin(), lines.end(), wanted);
    };
    const bool isInForce = isAny([&policy](const ModuleLine &line) {
                               return line.isCommon && enforces(policy, line);
                           })
        && isAny([&policy](const ModuleLine &line) {
                               return line.isCommon && refuses(policy, line);
                           });
    const bool areOthers = isAny([&policy](const ModuleLine &line) {
        return !line.isOurs && enforces(policy, line);
    });
    return !isInForce                ? ModuleForce::None
        : areOthers || !areOursWhole ? ModuleForce::OtherLines
                                     : ModuleForce::OurProfiles;
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
            reading->isMalformed = reading->error.isEmpty();
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
    reading.paths.removeDuplicates();
    return reading;
}

bool enforces(const ModulePolicy &policy, const ModuleLine &line)
{
    return policy.enforcingOption.isEmpty() || line.options.contains(policy.enforcingOption);
}

bool refuses(const ModulePolicy &policy, const ModuleLine &line)
{
    // pam_faillock only forgets failures where it is called for the account
    return policy.enforcingOption.isEmpty() || (line.type == policy.types.constFirst() && !enforces(policy, line));
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
