// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/checkup/Checkup.h"

#include "HelperId.h"
#include "client/Translation.h"
#include "client/bus/PolicyRead.h"
#include "client/bus/Polkit.h"
#include "client/bus/TextAgent.h"
#include "client/checkup/ModuleCheckup.h"
#include "client/checkup/PamCheckup.h"
#include "client/checkup/ServiceCheckup.h"
#include "client/output/WaitingLine.h"
#include "client/settings/Policies.h"
#include "client/system/PamFiles.h"
#include "engine/FileRewriting.h"
#include "policies/expiration/ExpirationFiles.h"
#include "policies/lockout/LockoutPolicy.h"
#include "policies/pam/PamPolicyUpdate.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <systemd/sd-daemon.h>

namespace
{
constexpr int toolLimit = 30000; // ms

QString id()
{
    return QLatin1String(helperId);
}

QString reinstall()
{
    return translate("Checkup", "install the helper again");
}

Finding checkHelperProgram()
{
    const QFileInfo helper{QLatin1String(helperPath)};
    if (!helper.exists()) {
        return Finding::wrong(translate("Checkup", "the helper is missing: %1").arg(helper.filePath()), reinstall());
    }
    if (!helper.permission(QFile::ExeOther)) {
        return Finding::wrong(translate("Checkup", "the helper cannot be executed: %1").arg(helper.filePath()),
                              translate("Checkup", "chmod 755 %1").arg(helper.filePath()));
    }
    const bool groupMayWrite = helper.groupId() != 0 && helper.permission(QFile::WriteGroup);
    if (helper.ownerId() != 0 || groupMayWrite || helper.permission(QFile::WriteOther)) {
        return Finding::wrong(
            translate("Checkup", "others than root may replace the helper: %1").arg(helper.filePath()),
            translate("Checkup", "chown root %1; chmod 755 %1").arg(helper.filePath()));
    }
    return Finding::good(translate("Checkup", "helper: %1").arg(helper.filePath()));
}

QString busServicePath()
{
    return QStringLiteral("/usr/share/dbus-1/system-services/%1.service").arg(id());
}

QString busPolicyPath()
{
    return QStringLiteral("/usr/share/dbus-1/system.d/%1.conf").arg(id());
}

QString actionsPath()
{
    return QStringLiteral("/usr/share/polkit-1/actions/%1.policy").arg(id());
}

QVector<Finding> checkFiles()
{
    return {
        checkHelperProgram(),
        Finding::ofFile(busServicePath(), translate("Checkup", "bus service"), reinstall()),
        Finding::ofFile(busPolicyPath(), translate("Checkup", "bus policy"), reinstall()),
        Finding::ofFile(QStringLiteral("/usr/share/dbus-1/system.d/%1.conf").arg(QLatin1String(kauthInterface)),
                        translate("Checkup", "bus policy of KAuth"),
                        translate("Checkup", "apt install %1").arg(QLatin1String(kauthPackage))),
        Finding::ofFile(actionsPath(), translate("Checkup", "polkit actions"), reinstall()),
        Finding::ofFile(TextAgent::path(),
                        translate("Checkup", "password prompt for terminals"),
                        translate("Checkup", "apt install polkitd")),
    };
}

/// The actions that polkit knows, by asking it.
QStringList polkitActions()
{
    QDBusMessage call = polkitCall(QStringLiteral("EnumerateActions"));
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
        return Finding::wrong(translate("Checkup", "polkit does not answer"),
                              translate("Checkup", "apt install polkitd"));
    }
    const auto policies = policiesOfHelper();
    for (const Policy &policy : policies) {
        for (const char *action : {policy.readAction, policy.writeAction}) {
            const QString name = id() + QLatin1Char('.') + QLatin1String(action);
            if (!known.contains(name)) {
                return Finding::wrong(translate("Checkup", "polkit does not know the action %1").arg(name),
                                      reinstall());
            }
        }
    }
    return Finding::good(translate("Checkup", "polkit knows the six actions"));
}

Finding checkStart()
{
    const QDBusReply<void> started = QDBusConnection::systemBus().interface()->startService(id());
    return started.isValid()
        ? Finding::good(translate("Checkup", "the bus starts the helper"))
        : Finding::wrong(translate("Checkup", "the bus cannot start the helper: %1").arg(started.error().message()),
                         translate("Checkup", "look into the system's journal, then install the helper again"));
}

QString remedyForHelper(uint process)
{
    if (process == 0) {
        return translate("Checkup", "look into the system's journal");
    }
    const QString end = sd_booted() > 0 ? QStringLiteral("systemctl stop accountpolicieshelper.service")
                                        : QStringLiteral("kill -KILL %1").arg(process);
    return translate("Checkup",
                     "process %1 works for somebody else, waits for a password, or is held by a caller that has gone "
                     "away; if it stays so, as root: %2")
        .arg(QString::number(process), end);
}

Finding checkAnswer()
{
    const HelperCall call(HelperCall::Kind::Read, QLatin1String(allPolicies().constFirst().readAction), {});
    const QString hindrance = askForReadingSoon(call, false).unavailable;
    if (hindrance.isEmpty()) {
        return Finding::good(translate("Checkup", "the helper takes requests"));
    }
    return Finding::wrong(translate("Checkup", "the helper takes no request: %1").arg(hindrance),
                          remedyForHelper(QDBusConnection::systemBus().interface()->servicePid(id())));
}

QString aboutLocal()
{
    return translate("Checkup", "see --local in accountpolicyctl(1)");
}

QVector<Finding> checkBus()
{
    if (!QDBusConnection::systemBus().isConnected()) {
        return {Finding::wrong(translate("Checkup", "the system bus cannot be reached"),
                               translate("Checkup", "start the service dbus")),
                Finding::note(
                    translate("Checkup", "without it root reads and changes policies by itself, and others only read"),
                    aboutLocal())};
    }
    QVector<Finding> findings{Finding::good(translate("Checkup", "system bus"))};
    {
        const WaitingLine line(translate("Checkup", "waiting for the helper…"));
        findings += {checkStart(), checkActions()};
    }
    const bool canBeAsked = std::none_of(findings.cbegin(), findings.cend(), [](const Finding &finding) {
        return finding.grade == Finding::Grade::Wrong;
    });
    // without polkit it would be held by the question itself
    return canBeAsked ? findings + QVector<Finding>{checkAnswer()} : findings;
}

/// Whether nothing of it is there; a part of it that is missing is wrong.
bool isHelperLeftOut()
{
    const QStringList files{QLatin1String(helperPath), busServicePath(), busPolicyPath(), actionsPath()};
    return std::none_of(files.cbegin(), files.cend(), [](const QString &file) {
        return QFile::exists(file);
    });
}

QVector<Finding> checkHelper()
{
    if (!isHelperLeftOut()) {
        return checkFiles() + checkBus();
    }
    return {Finding::note(
        translate("Checkup",
                  "the helper is not installed: root reads and changes policies without it, and others only read"),
        translate("Checkup", "apt install accountpolicies-helper, where others are to change them"))};
}

Finding checkProfile(const PamProfile &profile)
{
    if (!namesModule(profile.path(), profile.module)) {
        return Finding::wrong(
            translate("Checkup", "%1 does not name %2.so").arg(profile.path(), profile.module),
            translate("Checkup", "bring its line back: %1").arg(QStringLiteral("dpkg -S %1").arg(profile.path())));
    }
    if (modulePath(profile.module).isEmpty()) {
        return Finding::wrong(
            translate("Checkup", "%1 names %2.so, which is not installed").arg(profile.path(), profile.module),
            translate("Checkup", "install the module, or remove the profile"));
    }
    if (isModuleRefused(profile.module)) {
        return Finding::wrong(
            translate("Checkup", "%1 can be written, but never comes into force").arg(profile.path()),
            translate("Checkup", "pam-auth-update of this system leaves out every profile that names %1")
                .arg(profile.module));
    }
    return Finding::good(translate("Checkup", "profile: %1").arg(profile.path()));
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
        findings += Finding::note(translate("Checkup", "the %1 policy cannot be written: there is no profile %2")
                                      .arg(files.policy, paths.join(QStringLiteral(", "))),
                                  translate("Checkup", "install a package that brings one, or do without this policy"));
    }
    if (!QFile::exists(files.stack)) {
        findings += Finding::wrong(translate("Checkup", "%1 is missing").arg(files.stack),
                                   translate("Checkup", "apt install --reinstall libpam-runtime"));
    }
    return findings;
}

QVector<Finding> checkPam()
{
    QVector<Finding> findings{Finding::ofFile(pamAuthUpdatePath(),
                                              translate("Checkup", "pam-auth-update"),
                                              translate("Checkup", "apt install libpam-runtime"))};
    for (const PamFiles &files : allPamFiles()) {
        findings += checkProfiles(files);
    }
    findings += checkLockout() + checkPasswordRules();
    const bool needsDictionary = !modulePath(QStringLiteral("pam_pwquality")).isEmpty();
    if (needsDictionary && !QFile::exists(QStringLiteral("/var/cache/cracklib/cracklib_dict.pwd"))) {
        findings += Finding::wrong(translate("Checkup", "pam_pwquality has no dictionary, and refuses every password"),
                                   translate("Checkup", "apt install cracklib-runtime"));
    }
    return findings;
}

/// login.defs came with login up to Debian 12 and has a package of its own since.
QString remedyForLoginDefs()
{
    return QFile::exists(QStringLiteral("/var/lib/dpkg/info/login.defs.list"))
        ? translate("Checkup", "apt install --reinstall login.defs")
        : translate("Checkup", "apt install --reinstall login");
}

QVector<Finding> checkExpirationFiles()
{
    return {
        Finding::ofFile(loginDefs().path, translate("Checkup", "defaults of passwords"), remedyForLoginDefs()),
        Finding::ofFile(useraddDefaults().path,
                        translate("Checkup", "defaults of useradd"),
                        translate("Checkup", "apt install --reinstall passwd")),
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
        const auto names = QDir(folder).entryList({QLatin1Char('*') + QLatin1String(temporarySuffix)},
                                                  QDir::Files | QDir::Hidden | QDir::System);
        for (const QString &name : names) {
            const QString path = folder + QLatin1Char('/') + name;
            const QString remedy = translate("Checkup", "rm %1").arg(path);
            findings += folder == pamProfilesFolder()
                ? Finding::wrong(
                    translate("Checkup", "left behind: %1, which pam-auth-update takes for a profile").arg(path),
                    remedy)
                : Finding::note(translate("Checkup", "left behind: %1").arg(path), remedy);
        }
    }
    return findings.isEmpty() ? QVector<Finding>{Finding::good(translate("Checkup", "nothing was left behind"))}
                              : findings;
}
}

QVector<Finding> checkInstallation()
{
    return checkHelper() + checkService() + checkPam() + checkExpirationFiles() + checkModules() + checkLeftovers();
}
