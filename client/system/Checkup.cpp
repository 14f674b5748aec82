// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/system/Checkup.h"

#include "HelperId.h"
#include "client/output/WaitingLine.h"
#include "client/settings/Policies.h"
#include "client/system/PamFiles.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFileInfo>

namespace
{
constexpr int toolLimit = 30000; // ms

/// Translates this file's texts.
struct Text {
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
    return QFile::exists(path) ? good(Text::tr("%1: %2").arg(what, path))
                               : wrong(Text::tr("%1 is missing: %2").arg(what, path), remedy);
}

QString reinstall()
{
    return Text::tr("install the helper again");
}

Finding checkHelperProgram()
{
    const QFileInfo helper(QLatin1String(HELPER_PATH));
    if (!helper.exists()) {
        return wrong(Text::tr("the helper is missing: %1").arg(helper.filePath()), reinstall());
    }
    if (!helper.permission(QFile::ExeOther)) {
        return wrong(Text::tr("the helper cannot be executed: %1").arg(helper.filePath()),
                     Text::tr("chmod 755 %1").arg(helper.filePath()));
    }
    if (helper.ownerId() != 0 || helper.permission(QFile::WriteOther)) {
        return wrong(Text::tr("others than root may replace the helper: %1").arg(helper.filePath()),
                     Text::tr("chown root %1; chmod 755 %1").arg(helper.filePath()));
    }
    return good(Text::tr("helper: %1").arg(helper.filePath()));
}

QVector<Finding> checkFiles()
{
    return {
        checkHelperProgram(),
        checkFile(QStringLiteral("/usr/share/dbus-1/system-services/%1.service").arg(id()),
                  Text::tr("bus service"),
                  reinstall()),
        checkFile(QStringLiteral("/usr/share/dbus-1/system.d/%1.conf").arg(id()), Text::tr("bus policy"), reinstall()),
        checkFile(QStringLiteral("/usr/share/dbus-1/system.d/org.kde.kf5auth.conf"),
                  Text::tr("bus policy of KAuth"),
                  Text::tr("apt install libkf5auth-data")),
        checkFile(
            QStringLiteral("/usr/share/polkit-1/actions/%1.policy").arg(id()), Text::tr("polkit actions"), reinstall()),
        checkFile(QStringLiteral("/usr/bin/pkttyagent"),
                  Text::tr("password prompt for terminals"),
                  Text::tr("apt install polkitd")),
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
        while (!actions.atEnd()) {
            actions.asVariant(); // texts and defaults
        }
        actions.endStructure();
        names += name;
    }
    actions.endArray();
    return names;
}

Finding checkActions()
{
    const QStringList known = polkitActions();
    if (known.isEmpty()) {
        return wrong(Text::tr("polkit does not answer"), Text::tr("apt install polkitd"));
    }
    for (const Policy &policy : allPolicies()) {
        for (const char *action : {policy.readAction, policy.writeAction}) {
            const QString name = id() + QLatin1Char('.') + QLatin1String(action);
            if (!known.contains(name)) {
                return wrong(Text::tr("polkit does not know the action %1").arg(name), reinstall());
            }
        }
    }
    return good(Text::tr("polkit knows the six actions"));
}

Finding checkStart()
{
    const QDBusReply<void> started = QDBusConnection::systemBus().interface()->startService(id());
    return started.isValid() ? good(Text::tr("the bus starts the helper"))
                             : wrong(Text::tr("the bus cannot start the helper: %1").arg(started.error().message()),
                                     Text::tr("look into the system's journal, then install the helper again"));
}

QVector<Finding> checkBus()
{
    if (!QDBusConnection::systemBus().isConnected()) {
        return {wrong(Text::tr("the system bus cannot be reached"), Text::tr("start the service dbus"))};
    }
    const WaitingLine line(Text::tr("waiting for the helper…"));
    return {good(Text::tr("system bus")), checkStart(), checkActions()};
}

Finding checkProfile(const PamProfileFile &profile)
{
    if (!namesModule(profile.path, profile.module)) {
        return wrong(Text::tr("%1 does not name %2.so").arg(profile.path, profile.module),
                     Text::tr("bring its line back: %1").arg(QStringLiteral("dpkg -S %1").arg(profile.path)));
    }
    if (modulePath(profile.module).isEmpty()) {
        return wrong(Text::tr("%1 names %2.so, which is not installed").arg(profile.path, profile.module),
                     Text::tr("install the module, or remove the profile"));
    }
    if (isModuleRefused(profile.module)) {
        return wrong(
            Text::tr("%1 can be written, but never comes into force").arg(profile.path),
            Text::tr("pam-auth-update of this system leaves out every profile that names %1").arg(profile.module));
    }
    return good(Text::tr("profile: %1").arg(profile.path));
}

QVector<Finding> checkProfiles(const PamFiles &files)
{
    QVector<Finding> findings;
    QStringList paths;
    for (const PamProfileFile &profile : files.profiles) {
        paths += profile.path;
        if (QFile::exists(profile.path)) {
            findings += checkProfile(profile);
        }
    }
    if (findings.isEmpty()) {
        findings += note(Text::tr("the %1 policy cannot be written: there is no profile %2")
                             .arg(files.policy, paths.join(QStringLiteral(", "))),
                         Text::tr("install a package that brings one, or do without this policy"));
    }
    if (!QFile::exists(files.stack)) {
        findings +=
            wrong(Text::tr("%1 is missing").arg(files.stack), Text::tr("apt install --reinstall libpam-runtime"));
    }
    return findings;
}

QVector<Finding> checkPam()
{
    QVector<Finding> findings{
        checkFile(pamAuthUpdatePath(), Text::tr("pam-auth-update"), Text::tr("apt install libpam-runtime"))};
    for (const PamFiles &files : allPamFiles()) {
        findings += checkProfiles(files);
    }
    if (!modulePath(QStringLiteral("pam_tally")).isEmpty()) {
        findings += good(Text::tr("module: %1").arg(modulePath(QStringLiteral("pam_tally"))));
    } else {
        findings += note(Text::tr("pam_tally.so is not installed: no account is locked after failed logins"),
                         Text::tr("Debian has dropped this module after version 10"));
    }
    const bool needsDictionary = !modulePath(QStringLiteral("pam_pwquality")).isEmpty();
    if (needsDictionary && !QFile::exists(QStringLiteral("/var/cache/cracklib/cracklib_dict.pwd"))) {
        findings += wrong(Text::tr("pam_pwquality has no dictionary, and refuses every password"),
                          Text::tr("apt install cracklib-runtime"));
    }
    return findings;
}

QVector<Finding> checkExpirationFiles()
{
    return {
        checkFile(QStringLiteral("/etc/login.defs"),
                  Text::tr("defaults of passwords"),
                  Text::tr("apt install --reinstall login")),
        checkFile(QStringLiteral("/etc/default/useradd"),
                  Text::tr("defaults of useradd"),
                  Text::tr("apt install --reinstall passwd")),
    };
}

QVector<Finding> checkLeftovers()
{
    QVector<Finding> findings;
    for (const QString &folder :
         {profilesFolder(), QStringLiteral("/etc"), QStringLiteral("/etc/default"), QStringLiteral("/etc/pam.d")}) {
        const auto names = QDir(folder).entryList({QStringLiteral("*.tmp")}, QDir::Files | QDir::Hidden | QDir::System);
        for (const QString &name : names) {
            const QString path = folder + QLatin1Char('/') + name;
            const QString remedy = Text::tr("rm %1").arg(path);
            findings += folder == profilesFolder()
                ? wrong(Text::tr("left behind: %1, which pam-auth-update takes for a profile").arg(path), remedy)
                : note(Text::tr("left behind: %1").arg(path), remedy);
        }
    }
    return findings.isEmpty() ? QVector<Finding>{good(Text::tr("nothing was left behind"))} : findings;
}
}

QVector<Finding> checkInstallation()
{
    return checkFiles() + checkBus() + checkPam() + checkExpirationFiles() + checkLeftovers();
}
