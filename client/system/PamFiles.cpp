// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/system/PamFiles.h"

#include "client/Translation.h"
#include "messages/LocalText.h"
#include "policies/complexity/ComplexityPolicy.h"
#include "policies/lockout/LockoutPolicy.h"
#include "policies/pam/PamPolicyUpdate.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>

namespace
{
PamFiles filesOf(const QString &name, const PamPolicy &policy)
{
    PamFiles files{name, policy.stack, policy.profiles};
    // rewritten in the order of their age
    std::reverse(files.profiles.begin(), files.profiles.end());
    return files;
}

QString refusedText(const QString &module)
{
    return translate("PamFiles", "pam-auth-update of this system leaves out every profile that names %1").arg(module);
}

/// Says that nothing puts the profiles in force; empty if that isn't so.
QString refusalText(const PamFiles &files)
{
    for (const PamProfile &profile : files.profiles) {
        if (namesModule(profile.path(), profile.module) && isModuleRefused(profile.module)) {
            return refusedText(profile.module);
        }
    }
    return {};
}

QString missingProfilesText(const PamFiles &files)
{
    QStringList paths;
    for (const PamProfile &profile : files.profiles) {
        paths += profile.path();
    }
    return translate(
               "PamFiles",
               "its profile is missing (%1); install a package that brings one, since --force cannot write it either")
        .arg(paths.join(QStringLiteral(", ")));
}

/// Empty if there is none.
QString obstacleToProfile(const PamProfile &profile)
{
    if (isModuleRefused(profile.module)) {
        return refusedText(profile.module);
    }
    return modulePath(profile.module).isEmpty()
        ? translate("PamFiles", "its module %1.so is not installed").arg(profile.module)
        : QString();
}
}

const QVector<PamFiles> &allPamFiles()
{
    static const QVector<PamFiles> all{
        filesOf(QStringLiteral("lockout"), lockoutPolicy()),
        filesOf(QStringLiteral("complexity"), complexityPolicy()),
    };
    return all;
}

const PamFiles *pamFilesOf(const QString &policy)
{
    for (const PamFiles &files : allPamFiles()) {
        if (files.policy == policy) {
            return &files;
        }
    }
    return nullptr;
}

QByteArray fileContent(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool namesModule(const QString &path, const QString &module)
{
    const QByteArray object = module.toLatin1() + ".so";
    const QByteArrayList lines = fileContent(path).split('\n');
    return std::any_of(lines.cbegin(), lines.cend(), [&object](const QByteArray &line) {
        return line.split('#').constFirst().contains(object);
    });
}

QString modulePath(const QString &module)
{
    // below the folder of the machine's architecture, or of none; /lib is a link to /usr/lib
    QStringList folders{QStringLiteral("/usr/lib/security")};
    const QDir libraries(QStringLiteral("/usr/lib"));
    const auto architectures = libraries.entryList({QStringLiteral("*-linux-*")}, QDir::Dirs);
    for (const QString &architecture : architectures) {
        folders += libraries.filePath(architecture) + QLatin1String("/security");
    }
    for (const QString &folder : std::as_const(folders)) {
        QString path = folder + QLatin1Char('/') + module + QLatin1String(".so");
        if (QFile::exists(path)) {
            return path;
        }
    }
    return {};
}

bool isModuleRefused(const QString &module)
{
    // a list in the tool's source, which is a Perl script
    static const QRegularExpression list(QStringLiteral(R"(@invalid_modules\s*=([^;]*))"));
    const QString refused = list.match(localText(fileContent(pamAuthUpdatePath()))).captured(1);
    return refused.contains(QRegularExpression(QStringLiteral("\\b%1\\b").arg(module)));
}

QByteArrayList profileContents(const PamFiles &files)
{
    QByteArrayList contents;
    for (const PamProfile &profile : files.profiles) {
        contents += fileContent(profile.path());
    }
    return contents;
}

QString changedProfileText(const PamFiles &files)
{
    const QString refusal = refusalText(files);
    return refusal.isEmpty()
        ? translate("PamFiles", "the profile has changed and comes into force with the next run of pam-auth-update")
        : translate("PamFiles", "the profile has changed, but %1").arg(refusal);
}

QString obstacleTo(const PamFiles &files)
{
    QStringList obstacles;
    for (const PamProfile &profile : files.profiles) {
        if (!QFile::exists(profile.path())) {
            continue;
        }
        const QString obstacle = obstacleToProfile(profile);
        if (obstacle.isEmpty()) {
            return {};
        }
        obstacles += obstacle;
    }
    if (obstacles.isEmpty()) {
        return missingProfilesText(files);
    }
    obstacles += translate("PamFiles", "--force writes the profile all the same, for an image or a later system");
    return obstacles.join(QLatin1Char('\n'));
}

QString reasonNotInStack(const PamFiles &files)
{
    QString refusal = refusalText(files);
    if (!refusal.isEmpty()) {
        return refusal;
    }
    for (const PamProfile &profile : files.profiles) {
        if (namesModule(files.stack, profile.module)) {
            return translate(
                       "PamFiles",
                       "the profile has changed, but %1 has not; pam-auth-update keeps what was edited there by hand")
                .arg(files.stack);
        }
    }
    return translate(
               "PamFiles",
               "the profile has changed, but %1 does not name its module; is the profile enabled in pam-auth-update?")
        .arg(files.stack);
}
