// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service/JournalEntry.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <syslog.h>
#include <systemd/sd-journal.h>
#include <vector>

namespace
{
/// Tells entries of this kind from all others, see systemd.journal-fields(7).
constexpr char entryKind[] = "b6e1f2a3c7d84e5f9a0b1c2d3e4f5061";

QByteArray field(const char *name, const QString &value)
{
    return QByteArray(name) + '=' + value.toUtf8();
}

QString numberText(std::optional<uint> number)
{
    return number ? QString::number(*number) : QString();
}

QString jsonText(const QVariantMap &values)
{
    return QString::fromUtf8(QJsonDocument(QJsonObject::fromVariantMap(values)).toJson(QJsonDocument::Compact));
}

QString sentence(const JournalEntry &entry)
{
    const QString told = QStringLiteral("User %1, %2, %3: %4")
                             .arg(QString::number(entry.caller.user), entry.action, entry.subject, entry.outcome);
    return entry.reason.isEmpty() ? told : told + QLatin1String(", ") + entry.reason;
}
}

void writeToJournal(const JournalEntry &entry)
{
    const QByteArrayList fields{
        field("MESSAGE", sentence(entry)),
        field("MESSAGE_ID", QLatin1String(entryKind)),
        field("PRIORITY", QString::number(entry.outcome == doneOutcome() ? LOG_NOTICE : LOG_WARNING)),
        field("ACCOUNTPOLICIES_ACTION", entry.action),
        field("ACCOUNTPOLICIES_SUBJECT", entry.subject),
        field("ACCOUNTPOLICIES_CALLER_UID", QString::number(entry.caller.user)),
        field("ACCOUNTPOLICIES_CALLER_LOGINUID", numberText(entry.caller.loginUser)),
        field("ACCOUNTPOLICIES_CALLER_PID", QString::number(entry.caller.process)),
        field("ACCOUNTPOLICIES_OLD", jsonText(entry.before)),
        field("ACCOUNTPOLICIES_NEW", jsonText(entry.after)),
        field("ACCOUNTPOLICIES_OPTIONS", jsonText(entry.options)),
        field("ACCOUNTPOLICIES_OLD_FORCE", entry.forceBefore),
        field("ACCOUNTPOLICIES_NEW_FORCE", entry.forceNow),
        field("ACCOUNTPOLICIES_OUTCOME", entry.outcome),
        field("ACCOUNTPOLICIES_REASON", entry.reason),
    };
    std::vector<iovec> parts;
    for (const QByteArray &part : fields) {
        parts.push_back({const_cast<char *>(part.constData()), static_cast<size_t>(part.size())});
    }
    sd_journal_sendv(parts.data(), static_cast<int>(parts.size()));
}
