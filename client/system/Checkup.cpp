// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/system/Checkup.h"

#include "HelperId.h"
#include "client/output/WaitingLine.h"
#include "client/settings/Policies.h"
#include "client/system/PamFiles.h"
#include "policies/expiration/ExpirationFiles.h"
#include "policies/lockout/LockoutPolicy.h"
#include "policies/pam/PamPolicyUpdate.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFileInfo>

namespace
{
constexpr int toolLimit = 30000; // ms

/// Translates this file's texts.
struct CheckupText {
    Q_DECLARE_TR_FUNCTIONS(Checkup)
};

QString id()
{
    return QLatin1String(helperId);
}

Finding good(const QString &text)
{
    return {Finding::Grade::Good, text, QString()};
}

Finding note(const QString &text, const QString &remedy)
{
    return {Finding::Grade::Note, text, remedy};
}

Finding wrong(const QString &text, const QString &remedy)
{
    return {Finding::Grade::Wrong, text, remedy};
}

Finding checkFile(const QString &path, const QString &what, const QString &remedy)
{
    return QFile::exists(path) ? good(CheckupText::tr("%1: %2").arg(what, path))
                               : wrong(CheckupText::tr("%1 is missing: %2").arg(what, path), remedy);
}

QString reinstall()
{
    return CheckupText::tr("install the helper again");
}

Finding checkHelperProgram()
{
    const QFileInfo helper{QLatin1String(helperPath)};
    if (!helper.exists()) {
        return wrong(CheckupText::tr("the helper is missing: %1").arg(helper.filePath()), reinstall());
    }
    if (!helper.permission(QFile::ExeOther)) {
        return wrong(CheckupText::tr("the helper cannot be executed: %1").arg(helper.filePath()),
                     CheckupText::tr("chmod 755 %1").arg(helper.filePath()));
    }
    if (helper.ownerId() != 0 || helper.permission(QFile::WriteOther)) {
        return wrong(CheckupText::tr("others than root may replace the helper: %1").arg(helper.filePath()),
                     CheckupText::tr("chown root %1; chmod 755 %1").arg(helper.filePath()));
    }
    return good(CheckupText::tr("helper: %1").arg(helper.filePath()));
}

QVector<Finding> checkFiles()
{
    return {
        checkHelperProgram(),
        checkFile(QStringLiteral("/usr/share/dbus-1/system-services/%1.service").arg(id()),
                  CheckupText::tr("bus service"),
                  reinstall()),
        checkFile(
            QStringLiteral("/usr/share/dbus-1/system.d/%1.conf").arg(id()), CheckupText::tr("bus policy"), reinstall()),
        checkFile(QStringLiteral("/usr/share/dbus-1/system.d/org.kde.kf5auth.conf"),
                  CheckupText::tr("bus policy of KAuth"),
                  CheckupText::tr("apt install libkf5auth-data")),
        checkFile(QStringLiteral("/usr/share/polkit-1/actions/%1.policy").arg(id()),
                  CheckupText::tr("polkit actions"),
                  reinstall()),
        checkFile(QStringLiteral("/usr/bin/pkttyagent"),
                  CheckupText::tr("password prompt for terminals"),
                  CheckupText::tr("apt install polkitd")),
    };
}

/// The actions that polkit knows, by asking it.
QStringList polkitActions()
{
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.PolicyKit1"),
                                                       QStringLiteral("/org/freedesktop/PolicyKit1/Authority"),
                                                       QStringLiteral("org.freedesktop.PolicyKit1.Authority"),
                                                       QStringLiteral("EnumerateActions"));
    call << QString();
    const QDBusMessage reply = QDBusConnection::systemBus().call(call, QDBus::Block, toolLimit);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        return {};
    }
    QStringList names;
    const auto actions = reply.arguments().constFirst().value<QDBusArgument>();
    actions.beginArray();
    while (!actions.atEnd()) {
        QString name;
        actions.beginStructure();
        actions >> name;
        actions.endStructure(); // texts and defaults come behind it
        names += name;
    }
    actions.endArray();
    return names;
}

Finding checkActions()
{
    const QStringList known = polkitActions();
    if (known.isEmpty()) {
        return wrong(CheckupText::tr("polkit does not answer"), CheckupText::tr("apt install polkitd"));
    }
    for (const Policy &policy : allPolicies()) {
        for (const char *action : {policy.readAction, policy.writeAction}) {
            const QString name = id() + QLatin1Char('.') + QLatin1String(action);
            if (!known.contains(name)) {
                return wrong(CheckupText::tr("polkit does not know the action %1").arg(name), reinstall());
            }
        }
    }
    return good(CheckupText::tr("polkit knows the six actions"));
}

Finding checkStart()
{
    const QDBusReply<void> started = QDBusConnection::systemBus().interface()->startService(id());
    return started.isValid()
        ? good(CheckupText::tr("the bus starts the helper"))
        : wrong(CheckupText::tr("the bus cannot start the helper: %1").arg(started.error().message()),
                CheckupText::tr("look into the system's journal, then install the helper again"));
}

QVector<Finding> checkBus()
{
    if (!QDBusConnection::systemBus().isConnected()) {
        return {wrong(CheckupText::tr("the system bus cannot be reached"), CheckupText::tr("start the service dbus"))};
    }
    const WaitingLine line(CheckupText::tr("waiting for the helper…"));
    return {good(CheckupText::tr("system bus")), checkStart(), checkActions()};
}

Finding checkProfile(const PamProfile &profile)
{
    if (!namesModule(profile.path(), profile.module)) {
        return wrong(CheckupText::tr("%1 does not name %2.so").arg(profile.path(), profile.module),
                     CheckupText::tr("bring its line back: %1").arg(QStringLiteral("dpkg -S %1").arg(profile.path())));
    }
    if (modulePath(profile.module).isEmpty()) {
        return wrong(CheckupText::tr("%1 names %2.so, which is not installed").arg(profile.path(), profile.module),
                     CheckupText::tr("install the module, or remove the profile"));
    }
    if (isModuleRefused(profile.module)) {
        return wrong(CheckupText::tr("%1 can be written, but never comes into force").arg(profile.path()),
                     CheckupText::tr("pam-auth-update of this system leaves out every profile that names %1")
                         .arg(profile.module));
    }
    return good(CheckupText::tr("profile: %1").arg(profile.path()));
}

QVector<Finding> checkProfiles(const PamFiles &files)
{
    QVector<Finding> findings;
    QStringList paths;
    for (const PamProfile &profile : files.profiles) {
        paths += profile.path();
        if (QFile::exists(profile.path())) {
            findings += checkProfile(profile);
        }
    }
    if (findings.isEmpty()) {
        findings += note(CheckupText::tr("the %1 policy cannot be written: there is no profile %2")
                             .arg(files.policy, paths.join(QStringLiteral(", "))),
                         CheckupText::tr("install a package that brings one, or do without this policy"));
    }
    if (!QFile::exists(files.stack)) {
        findings += wrong(CheckupText::tr("%1 is missing").arg(files.stack),
                          CheckupText::tr("apt install --reinstall libpam-runtime"));
    }
    return findings;
}

QVector<Finding> checkPam()
{
    QVector<Finding> findings{checkFile(
        pamAuthUpdatePath(), CheckupText::tr("pam-auth-update"), CheckupText::tr("apt install libpam-runtime"))};
    for (const PamFiles &files : allPamFiles()) {
        findings += checkProfiles(files);
    }
    const QString lockoutModule = modulePath(lockoutPolicy().profiles.constFirst().module);
    if (!lockoutModule.isEmpty()) {
        findings += good(CheckupText::tr("module: %1").arg(lockoutModule));
    } else {
        findings += note(CheckupText::tr("pam_tally.so is not installed: no account is locked after failed logins"),
                         CheckupText::tr("Debian has dropped this module after version 10"));
    }
    const bool needsDictionary = !modulePath(QStringLiteral("pam_pwquality")).isEmpty();
    if (needsDictionary && !QFile::exists(QStringLiteral("/var/cache/cracklib/cracklib_dict.pwd"))) {
        findings += wrong(CheckupText::tr("pam_pwquality has no dictionary, and refuses every password"),
                          CheckupText::tr("apt install cracklib-runtime"));
    }
    return findings;
}

QVector<Finding> checkExpirationFiles()
{
    return {
        checkFile(loginDefs().path,
                  CheckupText::tr("defaults of passwords"),
                  CheckupText::tr("apt install --reinstall login")),
        checkFile(useraddDefaults().path,
                  CheckupText::tr("defaults of useradd"),
                  CheckupText::tr("apt install --reinstall passwd")),
    };
}

QString folderOf(const QString &path)
{
    return QFileInfo(path).path();
}

QVector<Finding> checkLeftovers()
{
    QVector<Finding> findings;
    for (const QString &folder : {pamProfilesFolder(),
                                  folderOf(loginDefs().path),
                                  folderOf(useraddDefaults().path),
                                  folderOf(lockoutPolicy().stack)}) {
        const auto names = QDir(folder).entryList({QStringLiteral("*.tmp")}, QDir::Files | QDir::Hidden | QDir::System);
        for (const QString &name : names) {
            const QString path = folder + QLatin1Char('/') + name;
            const QString remedy = CheckupText::tr("rm %1").arg(path);
            findings += folder == pamProfilesFolder()
                ? wrong(CheckupText::tr("left behind: %1, which pam-auth-update takes for a profile").arg(path), remedy)
                : note(CheckupText::tr("left behind: %1").arg(path), remedy);
        }
    }
    return findings.isEmpty() ? QVector<Finding>{good(CheckupText::tr("nothing was left behind"))} : findings;
}
}

QVector<Finding> checkInstallation()
{
    return checkFiles() + checkBus() + checkPam() + checkExpirationFiles() + checkLeftovers();
}
