// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/faillock/FailureRecords.h"

#include "engine/Command.h"
#include "policies/modules/ModuleFile.h"
#include "policies/modules/ModuleReading.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstring>
#include <grp.h>
#include <pwd.h>

namespace
{
/// One failed login as the module records it, in the machine's own byte order.
struct TallyEntry {
    std::array<char, 52> source;
    quint16 reserved;
    quint16 status;
    quint64 time;
};
static_assert(sizeof(TallyEntry) == 64);

constexpr quint16 isValid = 1; // else it was followed by a login that succeeded

/// What pam_faillock goes by.
class FaillockLimits
{
public:
    explicit FaillockLimits(const ModuleReading &reading) : m_values(reading.values)
    {
        for (const ModuleLine &line : reading.lines) {
            if (line.options.contains(faillockPolicy().enforcingOption)) {
                lay(moduleOptionValues(faillockPolicy(), line.options));
                return;
            }
        }
    }

    QString folder() const
    {
        return value("dir").toString();
    }

    qint64 interval() const
    {
        return value("fail_interval").toLongLong();
    }

    /// So many failures are too many; none for who is never locked.
    std::optional<qint64> mostFailures(const QString &account) const
    {
        const qint64 most = value("deny").toLongLong();
        return most == 0 || (isAdministrator(account) && !locksAdministrators()) ? std::nullopt
                                                                                 : std::make_optional(most);
    }

    /// For how many seconds an account is locked; 0 is for ever.
    qint64 lockTime(const QString &account) const
    {
        const QVariant ofRoot = value("root_unlock_time");
        return (isAdministrator(account) && ofRoot.isValid() ? ofRoot : value("unlock_time")).toLongLong();
    }

private:
    void lay(const QVariantMap &options)
    {
        for (auto option = options.begin(); option != options.end(); ++option) {
            m_values.insert(option.key(), *option);
        }
    }

    QVariant value(const char *name) const
    {
        const QString key = QLatin1String(name);
        return m_values.value(key, faillockPolicy().find(key)->byDefault);
    }

    bool locksAdministrators() const
    {
        return value("even_deny_root").toBool() || value("root_unlock_time").isValid();
    }

    bool isAdministrator(const QString &account) const
    {
        const passwd *user = getpwnam(QFile::encodeName(account).constData());
        if (!user || user->pw_uid == 0) {
            return user;
        }
        const QString name = value("admin_group").toString();
        const group *admins = name.isEmpty() ? nullptr : getgrnam(name.toUtf8().constData());
        return admins && isIn(*user, admins->gr_gid);
    }

    static bool isIn(const passwd &user, gid_t wanted)
    {
        int count = 0;
        getgrouplist(user.pw_name, user.pw_gid, nullptr, &count);
        QVector<gid_t> groups(count);
        getgrouplist(user.pw_name, user.pw_gid, groups.data(), &count);
        return groups.contains(wanted);
    }

    QVariantMap m_values;
};

/// The failures that count, the last one at the end.
QVector<TallyEntry> failuresIn(const QByteArray &content, qint64 interval)
{
    QVector<TallyEntry> failures;
    for (qsizetype at = 0; at + qsizetype(sizeof(TallyEntry)) <= content.size(); at += sizeof(TallyEntry)) {
        TallyEntry entry;
        std::memcpy(&entry, content.constData() + at, sizeof entry);
        if (entry.status & isValid) {
            failures += entry;
        }
    }
    std::stable_sort(failures.begin(), failures.end(), [](const TallyEntry &one, const TallyEntry &other) {
        return one.time < other.time;
    });
    const auto tooOld = [&](const TallyEntry &entry) {
        return failures.constLast().time - entry.time >= quint64(interval);
    };
    failures.erase(failures.begin(), std::find_if_not(failures.begin(), failures.end(), tooOld));
    return failures;
}

QDateTime timeOf(quint64 seconds)
{
    return QDateTime::fromSecsSinceEpoch(qint64(seconds)).toUTC();
}

FailureRecord recordOf(const QString &account, const QVector<TallyEntry> &failures, const FaillockLimits &limits)
{
    const TallyEntry &last = failures.constLast();
    FailureRecord record;
    record.account = account;
    record.failures = int(failures.size());
    record.first = timeOf(failures.constFirst().time);
    record.last = timeOf(last.time);
    record.source = QString::fromUtf8(QByteArray(last.source.data(), int(last.source.size())).split('\0').constFirst());
    const std::optional<qint64> most = limits.mostFailures(account);
    const qint64 lockTime = limits.lockTime(account);
    const QDateTime end = record.last.addSecs(lockTime);
    record.isLocked = most && record.failures >= *most && (lockTime == 0 || end > QDateTime::currentDateTimeUtc());
    if (record.isLocked && lockTime != 0) {
        record.until = end;
    }
    return record;
}

/// By the names of the files.
QStringList recordedAccounts(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}
}

FailureListing failureRecords()
{
    FailureListing listing;
    const ModuleReading reading = readModule(faillockPolicy());
    const FaillockLimits limits(reading);
    listing.error = reading.error;
    const QDir folder(limits.folder());
    if (folder.exists() && !folder.isReadable()) {
        listing.error = folder.path() + QLatin1String(": ") + qt_error_string(EACCES);
    }
    for (const QString &account : recordedAccounts(folder.path())) {
        QFile file(folder.filePath(account));
        if (!file.open(QIODevice::ReadOnly)) {
            listing.error = file.fileName() + QLatin1String(": ") + file.errorString();
            continue;
        }
        const QVector<TallyEntry> failures = failuresIn(file.readAll(), limits.interval());
        if (!failures.isEmpty()) {
            listing.accounts += recordOf(account, failures, limits);
        }
    }
    return listing;
}

QString forgetFailures(const QString &account)
{
    const QString folder = FaillockLimits(readModule(faillockPolicy())).folder();
    if (!recordedAccounts(folder).contains(account)) {
        return {};
    }
    const Command reset{
        QStringLiteral("/usr/sbin/faillock"),
        {QStringLiteral("--dir"), folder, QStringLiteral("--user"), account, QStringLiteral("--reset")}};
    const CommandOutcome outcome = runCommand(reset);
    if (!outcome.succeeded()) {
        const bool hasExited = outcome.end == CommandOutcome::End::Exited;
        return QCoreApplication::translate("FailureRecords", "faillock has failed: %1")
            .arg(hasExited ? outcome.standardError.simplified() : outcome.errorString);
    }
    // it ends well where it could not write, too
    QFile file(folder + QLatin1Char('/') + account);
    if (file.open(QIODevice::ReadOnly) && !failuresIn(file.readAll(), 1).isEmpty()) {
        return QCoreApplication::translate("FailureRecords", "%1 still has failures").arg(account);
    }
    return {};
}

QString failureFolder()
{
    return FaillockLimits(readModule(faillockPolicy())).folder();
}
