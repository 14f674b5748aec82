// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/effective/Faillock.h"

#include "client/Translation.h"
#include "client/effective/PamLine.h"
#include "client/system/PamFiles.h"
#include "policies/lockout/LockoutPolicy.h"

#include <algorithm>

namespace
{
constexpr qlonglong longestTime = 604800; // more is not taken
constexpr qlonglong mostFailures = 65535;

/// A limit, and what it is where nothing sets it.
struct Limit {
    const char *name;
    qlonglong byDefault;
    qlonglong maximum;
};

constexpr Limit limits[] = {
    {"deny", 3, mostFailures}, {"fail_interval", 900, longestTime}, {"unlock_time", 600, longestTime}};

/// What changes whom it locks and for how long; the others are about messages.
const char *const furtherSettings[] = {"even_deny_root", "root_unlock_time", "admin_group", "local_users_only", "dir"};

struct Assignment {
    QString name;
    QString text;
};

Assignment assignmentOf(const QString &text)
{
    const int end = text.indexOf(QLatin1Char('='));
    return {text.left(end).trimmed(), end < 0 ? QString() : text.mid(end + 1).trimmed()};
}

/// What the settings are after all that was laid over them.
class Layers
{
public:
    Layers()
    {
        for (const Limit &limit : limits) {
            m_settings += {QLatin1String(limit.name), limit.byDefault, Origin()};
        }
    }

    void lay(const Assignment &assignment, const Origin &origin)
    {
        for (const Limit &limit : limits) {
            if (assignment.name == QLatin1String(limit.name)) {
                layLimit(limit, assignment, origin);
            }
        }
        for (const char *name : furtherSettings) {
            if (assignment.name == QLatin1String(name)) {
                put({assignment.name, assignment.text.isEmpty() ? QStringLiteral("yes") : assignment.text, origin});
            }
        }
    }

    QVector<BindingSetting> settings() const
    {
        return m_settings;
    }

private:
    /// A number that the module doesn't take leaves the one before in force.
    void layLimit(const Limit &limit, const Assignment &assignment, const Origin &origin)
    {
        bool isNumber = {};
        const qlonglong number = assignment.text.toLongLong(&isNumber);
        const bool isNever =
            limit.maximum == longestTime && (assignment.text == QLatin1String("never") || (isNumber && number == 0));
        if (isNever && assignment.name == QLatin1String("unlock_time")) {
            put({assignment.name, QStringLiteral("never"), origin});
        } else if (isNumber && number >= 0 && number <= limit.maximum) {
            put({assignment.name, number, origin});
        }
    }

    void put(const BindingSetting &setting)
    {
        const auto same = [&setting](const BindingSetting &other) {
            return other.name == setting.name;
        };
        auto *const place = std::find_if(m_settings.begin(), m_settings.end(), same);
        if (place == m_settings.end()) {
            m_settings += setting;
        } else {
            *place = setting;
        }
    }

    QVector<BindingSetting> m_settings;
};

/// The file that the options name, or the usual one.
QString configurationPath(const QStringList &options)
{
    for (const QString &option : options) {
        const Assignment assignment = assignmentOf(option);
        if (assignment.name == QLatin1String("conf")) {
            return assignment.text;
        }
    }
    return QStringLiteral("/etc/security/faillock.conf");
}

void layFile(const QString &path, Layers *layers)
{
    const auto lines = QString::fromUtf8(fileContent(path)).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        layers->lay(assignmentOf(line.section(QLatin1Char('#'), 0, 0)), path);
    }
}
}

FaillockRules faillockRules()
{
    const QString stack = lockoutPolicy().stack;
    const QVector<PamLine> lines = pamLines(fileContent(stack), QStringLiteral("auth"), QStringLiteral("pam_faillock"));
    FaillockRules rules;
    rules.locks = std::any_of(lines.begin(), lines.end(), [](const PamLine &line) {
        return line.options.contains(QLatin1String("authfail"));
    });
    if (!rules.locks) {
        return rules;
    }
    const QStringList options = lines.constFirst().options;
    Layers layers;
    layFile(configurationPath(options), &layers);
    for (const QString &option : options) {
        layers.lay(assignmentOf(option), stack);
    }
    rules.settings = layers.settings();
    return rules;
}

QString faillockText(const FaillockRules &rules)
{
    QStringList words;
    for (const BindingSetting &setting : rules.settings) {
        words += setting.name + QLatin1Char(' ') + setting.value.toString();
    }
    return translate("Faillock", "accounts are locked by pam_faillock: %1").arg(words.join(QStringLiteral(", ")));
}
