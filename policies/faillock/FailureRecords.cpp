// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/faillock/FailureRecords.h"

#include "engine/Command.h"
#include "policies/modules/ModuleReading.h"
#include "policies/modules/ModuleRules.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

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
constexpr int mostEntries = 1024; // the module reads no more of a file
constexpr int lockLimit = 500; // ms, many times what a login needs
constexpr unsigned long lockPause = 20; // ms
constexpr int resetLimit = 2000; // ms

/// What pam_faillock goes by.
class FaillockLimits
{
public:
    explicit FaillockLimits(const ModuleReading &reading)
    {
        const ModuleLine *line = decidingLine(faillockPolicy(), reading);
        m_refuses = line && refuses(faillockPolicy(), *line);
        m_rules.values = reading.values;
        if (line) {
            m_rules = moduleRules(faillockPolicy(), *line);
        }
    }

    /// Why they aren't known, one line; empty if they are.
    QString error() const
    {
        return m_rules.error;
    }

    QString folder() const
    {
        return value("dir").toString();
    }

    qint64 interval() const
    {
        return value("fail_interval").toLongLong();
    }

    /// So many failures are too many; none for who is never locked, as nobody is where no line looks at the records, nor an
    /// account that is no more: the module ignores it.
    std::optional<qint64> mostFailures(const QString &account) const
    {
        const qint64 most = value("deny").toLongLong();
        const bool isSpared = isAdministrator(account) && !locksAdministrators();
        const bool isIgnored = value("local_users_only").toBool() && !isLocal(account);
        const bool isGone = !getpwnam(QFile::encodeName(account).constData());
        return !m_refuses || most == 0 || isGone || isSpared || isIgnored ? std::nullopt : std::make_optional(most);
    }

    /// For how many seconds an account is locked; 0 is for ever.
    qint64 lockTime(const QString &account) const
    {
        const QVariant ofRoot = value("root_unlock_time");
        return (isAdministrator(account) && ofRoot.isValid() ? ofRoot : value("unlock_time")).toLongLong();
    }

private:
    QVariant value(const char *name) const
    {
        return m_rules.value(faillockPolicy(), QLatin1String(name));
    }

    bool locksAdministrators() const
    {
        // root_unlock_time alone locks nobody, whatever the module's manual page says
        return value("even_deny_root").toBool();
    }

    /// Whether the machine has it by itself, and not from a name service.
    static bool isLocal(const QString &account)
    {
        const QByteArray start = QFile::encodeName(account) + ':';
        QFile users(QStringLiteral("/etc/passwd"));
        const auto lines = users.open(QIODevice::ReadOnly) ? users.readAll().split('\n') : QByteArrayList();
        return std::any_of(lines.begin(), lines.end(), [&start](const QByteArray &line) {
            return line.startsWith(start);
        });
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

    ModuleRules m_rules;
    bool m_refuses;
};

/// The records of an account. The file is that account's own, which may have made anything of it.
class TallyFile
{
public:
    explicit TallyFile(const QString &path)
        : m_path(path)
        , m_descriptor(
              open(QFile::encodeName(path).constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC))
        , m_error(m_descriptor == -1 ? errno : 0)
    {
        struct stat status = {};
        m_isPlain = m_descriptor != -1 && fstat(m_descriptor, &status) == 0 && S_ISREG(status.st_mode);
    }

    ~TallyFile()
    {
        if (m_descriptor != -1) {
            close(m_descriptor);
        }
    }

    /// Why it can't be read; empty if it can, or is nothing that the module would read.
    QString error() const
    {
        const bool isOther = m_error == 0 || m_error == ELOOP || m_error == ENXIO || m_error == ENOENT;
        return isOther ? QString() : m_path + QLatin1String(": ") + qt_error_string(m_error);
    }

    /// Whether somebody holds it locked for longer than logins do; whoever waited for that would wait as long as he likes.
    bool isHeld() const
    {
        QElapsedTimer waited;
        waited.start();
        while (m_isPlain && flock(m_descriptor, LOCK_EX | LOCK_NB) != 0) {
            if (waited.elapsed() >= lockLimit) {
                return true;
            }
            QThread::msleep(lockPause);
        }
        return false;
    }

    /// In their order; none where it is no plain file.
    QVector<TallyEntry> validEntries() const
    {
        QVector<TallyEntry> entries;
        TallyEntry entry;
        for (int count = 0; m_isPlain && count < mostEntries && readNext(&entry); ++count) {
            if (entry.status & isValid) {
                entries += entry;
            }
        }
        return entries;
    }

private:
    Q_DISABLE_COPY(TallyFile)

    bool readNext(TallyEntry *entry) const
    {
        return read(m_descriptor, entry, sizeof *entry) == ssize_t(sizeof *entry);
    }

    QString m_path;
    int m_descriptor;
    int m_error;
    bool m_isPlain = false;
};

/// The failures that count, the last one at the end.
QVector<TallyEntry> failuresIn(const TallyFile &file, qint64 interval)
{
    QVector<TallyEntry> failures = file.validEntries();
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

/// What the module has recorded, or the account itself: one line of what can be printed.
QString sourceOf(const TallyEntry &entry)
{
    QString source =
        QString::fromUtf8(QByteArray(entry.source.data(), int(entry.source.size())).split('\0').constFirst());
    std::replace_if(
        source.begin(),
        source.end(),
        [](QChar character) {
            return !character.isPrint();
        },
        QChar::ReplacementCharacter);
    return source;
}

FailureRecord recordOf(const QString &account, const QVector<TallyEntry> &failures, const FaillockLimits &limits)
{
    const TallyEntry &last = failures.constLast();
    FailureRecord record;
    record.account = account;
    record.failures = int(failures.size());
    record.first = timeOf(failures.constFirst().time);
    record.last = timeOf(last.time);
    record.source = sourceOf(last);
    const std::optional<qint64> most = limits.mostFailures(account);
    const qint64 lockTime = limits.lockTime(account);
    const QDateTime end = record.last.addSecs(lockTime);
    // the module counts whole seconds, the last one too
    const bool isOver = lockTime != 0 && end.toSecsSinceEpoch() < QDateTime::currentSecsSinceEpoch();
    record.isLocked = most && record.failures >= *most && !isOver;
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
    listing.error = reading.error.isEmpty() ? limits.error() : reading.error;
    const QDir folder(limits.folder());
    if (folder.exists() && !folder.isReadable()) {
        listing.error = folder.path() + QLatin1String(": ") + qt_error_string(EACCES);
    }
    const auto accounts = recordedAccounts(folder.path());
    for (const QString &account : accounts) {
        const TallyFile file(folder.filePath(account));
        listing.error = file.error().isEmpty() ? listing.error : file.error();
        const QVector<TallyEntry> failures = failuresIn(file, limits.interval());
        if (failures.isEmpty()) {
            continue;
        }
        listing.accounts += recordOf(account, failures, limits);
        if (cannotBeLookedUp(account)) {
            listing.error =
                QCoreApplication::translate("FailureRecords", "%1 cannot be looked up among the accounts").arg(account);
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
    const QString path = folder + QLatin1Char('/') + account;
    if (TallyFile(path).isHeld()) {
        return QCoreApplication::translate("FailureRecords", "a process holds %1 locked: end it, or remove the file")
            .arg(path);
    }
    Command reset{QStringLiteral("/usr/sbin/faillock"),
                  {QStringLiteral("--dir"), folder, QStringLiteral("--user"), account, QStringLiteral("--reset")}};
    reset.endsAsGroup = true;
    reset.limit = resetLimit; // the file may be locked by now
    const CommandOutcome outcome = runCommand(reset);
    if (!outcome.succeeded()) {
        const bool hasExited = outcome.end == CommandOutcome::End::Exited;
        return QCoreApplication::translate("FailureRecords", "faillock has failed: %1")
            .arg(hasExited ? outcome.standardError.simplified() : outcome.errorString);
    }
    // it ends well where it could not write, too
    if (!failuresIn(TallyFile(path), 1).isEmpty()) {
        return QCoreApplication::translate("FailureRecords", "%1 still has failures").arg(account);
    }
    return {};
}

bool cannotBeLookedUp(const QString &account)
{
    std::vector<char> room(65536);
    passwd entry = {};
    passwd *found = nullptr;
    const QByteArray name = QFile::encodeName(account);
    if (getpwnam_r(name.constData(), &entry, room.data(), room.size(), &found) != 0) {
        return true;
    }
    // a database that isn't there at all is no error
    return !found && !getpwnam("root");
}

QString failureFolder()
{
    return FaillockLimits(readModule(faillockPolicy())).folder();
}
