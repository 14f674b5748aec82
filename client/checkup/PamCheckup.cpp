// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/checkup/PamCheckup.h"

#include "client/Translation.h"
#include "client/effective/Faillock.h"
#include "client/effective/PamLine.h"
#include "client/effective/PolicyInForce.h"
#include "client/effective/Pwquality.h"
#include "client/system/PamFiles.h"
#include "policies/complexity/ComplexityPolicy.h"
#include "policies/lockout/LockoutPolicy.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>

namespace
{
QString pwquality()
{
    return QStringLiteral("pam_pwquality");
}

/// A package, and what the sum of its file was when it was installed.
struct PackagedFile {
    QString package;
    QByteArray sum;
};

/// By dpkg's own lists of the packages that bring PAM modules: asking dpkg itself takes longer.
PackagedFile packagedFile(const QString &path)
{
    const QByteArray end = "  " + QFile::encodeName(path.mid(1));
    const QDir lists(QStringLiteral("/var/lib/dpkg/info"));
    const auto names = lists.entryList({QStringLiteral("libpam-*.md5sums")}, QDir::Files, QDir::Name);
    for (const QString &name : names) {
        const auto lines = fileContent(lists.filePath(name)).split('\n');
        for (const QByteArray &line : lines) {
            if (line.endsWith(end)) {
                return {name.section(QLatin1Char('.'), 0, -2).section(QLatin1Char(':'), 0, 0), line.left(32)};
            }
        }
    }
    return {};
}

QVector<Finding> checkEditedProfiles()
{
    QVector<Finding> findings;
    for (const PamFiles &files : allPamFiles()) {
        for (const PamProfile &profile : files.profiles) {
            const PackagedFile packaged = packagedFile(profile.path());
            const QByteArray content = fileContent(profile.path());
            if (packaged.sum.isEmpty() || content.isEmpty()
                || QCryptographicHash::hash(content, QCryptographicHash::Md5).toHex() == packaged.sum) {
                continue;
            }
            findings += Finding::note(
                translate("PamCheckup", "%1 was changed, and the next version of %2 brings its own again")
                    .arg(profile.path(), packaged.package),
                translate("PamCheckup",
                          "keep what accountpolicyctl export prints, and give it to accountpolicyctl apply "
                          "after each upgrade"));
        }
    }
    return findings;
}

QVector<Finding> checkOverriddenRules(const PwqualityRules &rules)
{
    QVector<Finding> findings;
    for (const BindingSetting &setting : rules.overridden) {
        const BindingSetting winner = rules.find(setting.name);
        findings += Finding::note(translate("PamCheckup", "%1 in %2 does not count: %3 sets %4 to %5")
                                      .arg(QStringLiteral("%1 = %2").arg(setting.name, setting.value.toString()),
                                           setting.origin,
                                           winner.origin,
                                           setting.name,
                                           winner.value.toString()),
                                  translate("PamCheckup", "remove one of the two"));
    }
    return findings;
}

QVector<Finding> checkRules(const PamLine &line, const QString &stack)
{
    QVector<Finding> findings;
    const QStringList remarks = inForceOf(*findPolicy(QStringLiteral("complexity")), {}).remarks;
    for (const QString &remark : remarks) {
        findings += Finding::note(
            remark, translate("PamCheckup", "mend it there; accountpolicyctl show complexity has what is in force"));
    }
    return findings + checkOverriddenRules(pwqualityRules(stack, line.options));
}
}

QVector<Finding> checkLockout()
{
    const FaillockRules faillock = faillockRules();
    const QString module = modulePath(lockoutPolicy().profiles.constFirst().module);
    QVector<Finding> findings;
    if (!module.isEmpty()) {
        findings += Finding::good(translate("PamCheckup", "module: %1").arg(module));
    } else if (!faillock.locks) {
        findings += Finding::note(
            translate("PamCheckup", "pam_tally.so is not installed: no account is locked after failed logins"),
            translate("PamCheckup", "Debian has dropped this module after version 10"));
    }
    if (faillock.locks) {
        findings +=
            Finding::note(faillockText(faillock),
                          translate("PamCheckup", "the lockout policy does not change that; see faillock.conf(5)"));
    }
    return findings;
}

QVector<Finding> checkPasswordRules()
{
    const QString stack = complexityPolicy().stack;
    const QVector<PamLine> lines = pamLines(fileContent(stack), QStringLiteral("password"), pwquality());
    QVector<Finding> findings = checkEditedProfiles();
    if (!lines.isEmpty()) {
        return findings + checkRules(lines.constFirst(), stack);
    }
    const PamProfile profile = pamFilesOf(QStringLiteral("complexity"))->profiles.constFirst();
    const bool isInstalled = QFile::exists(profile.path()) && !modulePath(profile.module).isEmpty();
    if (isInstalled && QFile::exists(stack)) {
        findings += Finding::note(
            translate("PamCheckup", "pam_pwquality is installed, but switched off: %1 does not call it").arg(stack),
            QStringLiteral("pam-auth-update --enable pwquality"));
    }
    return findings;
}
