// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/effective/Faillock.h"

#include "client/Translation.h"
#include "client/effective/PamLine.h"
#include "client/system/PamFiles.h"
#include "policies/lockout/LockoutPolicy.h"
#include "policies/modules/ModuleRules.h"

#include <QRegularExpression>

#include <algorithm>
#include <cstdio>
#include <optional>

namespace
{
constexpr unsigned longestTime = 604800; // more is not taken

/// A limit, and what it is where nothing sets it.
struct Limit {
    enum class Kind { Count, Seconds, SecondsOrNever };

    const char *name;
    qlonglong byDefault;
    Kind kind;
};

constexpr Limit limits[] = {{"deny", 3, Limit::Kind::Count},
                            {"fail_interval", 900, Limit::Kind::Seconds},
                            {"unlock_time", 600, Limit::Kind::SecondsOrNever}};

/// What changes whom it locks and for how long; the others are about messages.
const char *const furtherSettings[] = {"even_deny_root", "root_unlock_time", "admin_group", "local_users_only", "dir"};

struct Assignment {
    QString name;
    QString text;
};

/// A name ends at a blank, too.
Assignment assignmentOf(const QString &text)
{
    static const QRegularExpression form(QStringLiteral(R"(\A\s*([^\s=]+)\s*=?\s*(.*?)\s*\z)"));
    const QRegularExpressionMatch match = form.match(text);
    return {match.captured(1), match.captured(2)};
}

/// As scanf(3) reads a number without a sign: what stands behind its digits doesn't count, and a minus turns it round.
std::optional<unsigned> scanned(const QString &text)
{
    unsigned number = {};
    if (std::sscanf(text.toLatin1().constData(), "%u", &number) != 1) { // NOLINT(cert-err34-c): as the module does
        return {};
    }
    return number;
}

/// Invalid for what the module doesn't take: what was before it stays in force.
QVariant limitValue(Limit::Kind kind, const QString &text)
{
    const QString never = QStringLiteral("never");
    const std::optional<unsigned> number = scanned(text);
    if (kind == Limit::Kind::SecondsOrNever && (text == never || number == 0U)) {
        return never;
    }
    if (!number || (kind != Limit::Kind::Count && *number > longestTime)) {
        return {};
    }
    return kind == Limit::Kind::Count ? qlonglong(static_cast<quint16>(*number)) : qlonglong(*number);
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
    void layLimit(const Limit &limit, const Assignment &assignment, const Origin &origin)
    {
        const QVariant value = limitValue(limit.kind, assignment.text);
        if (value.isValid()) {
            put({assignment.name, value, origin});
        }
    }

    void put(const BindingSetting &setting)
    {
        const auto same = [&setting](const BindingSetting &other) {
            return other.name == setting.name;
        };
        const QVector<BindingSetting>::iterator place = std::find_if(m_settings.begin(), m_settings.end(), same);
        if (place == m_settings.end()) {
            m_settings += setting;
        } else {
            *place = setting;
        }
    }

    QVector<BindingSetting> m_settings;
};

void layFile(const QString &path, Layers *layers)
{
    const auto lines = QString::fromUtf8(fileContent(path)).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        layers->lay(assignmentOf(line.section(QLatin1Char('#'), 0, 0)), path);
    }
}

QVector<BindingSetting> settingsOfLine(const PamLine &line, const QString &stack)
{
    Layers layers;
    layFile(configurationPath(line.options, faillockPolicy().path), &layers);
    for (const QString &option : line.options) {
        layers.lay(assignmentOf(option), stack);
    }
    return layers.settings();
}

QVariantMap valuesOf(const QVector<BindingSetting> &settings)
{
    QVariantMap values;
    for (const BindingSetting &setting : settings) {
        values.insert(setting.name, setting.value);
    }
    return values;
}
}

FaillockRules faillockRules()
{
    const QString stack = lockoutPolicy().stack;
    const QVector<PamLine> lines = pamLines(fileContent(stack), QStringLiteral("auth"), QStringLiteral("pam_faillock"));
    FaillockRules rules;
    const bool counts = std::any_of(lines.begin(), lines.end(), [](const PamLine &line) {
        return line.options.contains(QLatin1String("authfail"));
    });
    if (!counts || readModule(faillockPolicy()).force == ModuleForce::None) {
        return rules; // counting alone keeps nobody out
    }
    const QVector<BindingSetting> settings = settingsOfLine(lines.constFirst(), stack);
    rules.locks = settings.constFirst().value != QVariant(0); // deny
    if (!rules.locks) {
        return rules;
    }
    rules.settings = settings;
    rules.agree = std::all_of(lines.begin(), lines.end(), [&](const PamLine &line) {
        return valuesOf(settingsOfLine(line, stack)) == valuesOf(settings);
    });
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
