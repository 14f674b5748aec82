// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/effective/Pwquality.h"

#include "client/Translation.h"
#include "messages/LocalText.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <array>
#include <memory>
#include <pwquality.h>

namespace
{
enum class ValueType { Number, Text };

struct KnownSetting {
    int id;
    const char *name;
    ValueType type;
};

// the library raises less to this
constexpr int shortestMinimum = 6;

/// In the order of pwquality.conf(5).
constexpr std::array knownSettings{
    KnownSetting{PWQ_SETTING_DIFF_OK, "difok", ValueType::Number},
    KnownSetting{PWQ_SETTING_MIN_LENGTH, "minlen", ValueType::Number},
    KnownSetting{PWQ_SETTING_DIG_CREDIT, "dcredit", ValueType::Number},
    KnownSetting{PWQ_SETTING_UP_CREDIT, "ucredit", ValueType::Number},
    KnownSetting{PWQ_SETTING_LOW_CREDIT, "lcredit", ValueType::Number},
    KnownSetting{PWQ_SETTING_OTH_CREDIT, "ocredit", ValueType::Number},
    KnownSetting{PWQ_SETTING_MIN_CLASS, "minclass", ValueType::Number},
    KnownSetting{PWQ_SETTING_MAX_REPEAT, "maxrepeat", ValueType::Number},
    KnownSetting{PWQ_SETTING_MAX_SEQUENCE, "maxsequence", ValueType::Number},
    KnownSetting{PWQ_SETTING_MAX_CLASS_REPEAT, "maxclassrepeat", ValueType::Number},
    KnownSetting{PWQ_SETTING_GECOS_CHECK, "gecoscheck", ValueType::Number},
    KnownSetting{PWQ_SETTING_DICT_CHECK, "dictcheck", ValueType::Number},
    KnownSetting{PWQ_SETTING_USER_CHECK, "usercheck", ValueType::Number},
    KnownSetting{PWQ_SETTING_USER_SUBSTR, "usersubstr", ValueType::Number},
    KnownSetting{PWQ_SETTING_ENFORCING, "enforcing", ValueType::Number},
    KnownSetting{PWQ_SETTING_BAD_WORDS, "badwords", ValueType::Text},
    KnownSetting{PWQ_SETTING_DICT_PATH, "dictpath", ValueType::Text},
    KnownSetting{PWQ_SETTING_RETRY_TIMES, "retry", ValueType::Number},
    KnownSetting{PWQ_SETTING_ENFORCE_ROOT, "enforce_for_root", ValueType::Number},
    KnownSetting{PWQ_SETTING_LOCAL_USERS, "local_users_only", ValueType::Number},
};

/// Options of the module itself, which its library does not know; it takes reject_username without a word and does
/// nothing for it.
bool isOfModule(const QString &option)
{
    static const QRegularExpression known(
        QStringLiteral("\\A(debug\\z|type=|reject_username|authtok_type|use_authtok|use_first_pass|try_first_pass)"));
    return known.match(option).hasMatch();
}

/// The library's settings, as the module has it fill them.
class Rules
{
public:
    /// Reads what the library reads, or just the one file; what is wrong with it, or an empty text.
    QString read(const char *path)
    {
        void *details = nullptr;
        const int error = pwquality_read_config(m_settings.get(), path, &details);
        std::array<char, PWQ_MAX_ERROR_MESSAGE_LEN> text{};
        return error == 0 ? QString() : localText(pwquality_strerror(text.data(), text.size(), error, details));
    }

    /// Whether it is understood.
    bool setOption(const QString &option)
    {
        return isOfModule(option) || pwquality_set_option(m_settings.get(), localBytes(option).constData()) == 0;
    }

    /// Makes all of it this; the shortest password is that much longer than the shortest one that the library allows.
    void fill(int number, const char *text)
    {
        for (const KnownSetting &setting : knownSettings) {
            if (setting.type == ValueType::Number) {
                const int least = setting.id == PWQ_SETTING_MIN_LENGTH ? shortestMinimum : 0;
                pwquality_set_int_value(m_settings.get(), setting.id, least + number);
            } else {
                pwquality_set_str_value(m_settings.get(), setting.id, text);
            }
        }
    }

    QVariant value(const KnownSetting &setting) const
    {
        if (setting.type == ValueType::Number) {
            int number = {};
            pwquality_get_int_value(m_settings.get(), setting.id, &number);
            return static_cast<qlonglong>(number);
        }
        const char *text = nullptr;
        pwquality_get_str_value(m_settings.get(), setting.id, &text);
        return text ? QVariant(localText(text)) : QVariant();
    }

private:
    struct Free {
        void operator()(pwquality_settings_t *settings) const
        {
            pwquality_free_settings(settings);
        }
    };

    std::unique_ptr<pwquality_settings_t, Free> m_settings{pwquality_default_settings()};
};

/// What a step of reading sets, which the library doesn't tell: the values that come out the same, whatever they were.
template<typename Step>
QVector<BindingSetting> settingsOf(const Origin &origin, const Step &step)
{
    Rules one;
    Rules other;
    one.fill(1, "one");
    other.fill(2, "other");
    step(&one);
    step(&other);
    QVector<BindingSetting> settings;
    for (const KnownSetting &setting : knownSettings) {
        if (one.value(setting) == other.value(setting)) {
            settings += {QLatin1String(setting.name), one.value(setting), origin};
        }
    }
    return settings;
}

/// Reads one file alone: by its own name the library would look for a folder beside it.
QString readAlone(const QFile &file, Rules *rules)
{
    return rules->read(QStringLiteral("/proc/self/fd/%1").arg(file.handle()).toLatin1().constData());
}

/// What files set, up to the first one that has an error, where the library ends, too.
QVector<BindingSetting> fileSettings(QStringList *remarks)
{
    QVector<BindingSetting> settings;
    const auto paths = pwqualityFiles();
    for (const QString &path : paths) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            if (file.exists()) {
                *remarks += translate("Pwquality", "%1 cannot be read: what it sets is not shown").arg(path);
            }
            continue;
        }
        QString error;
        settings += settingsOf(path, [&file, &error](Rules *rules) {
            error = readAlone(file, rules);
        });
        if (!error.isEmpty()) {
            *remarks += translate("Pwquality", "%1: %2; pam_pwquality reads nothing behind that").arg(path, error);
            break;
        }
    }
    return settings;
}
}

BindingSetting PwqualityRules::find(const QString &name) const
{
    for (const BindingSetting &setting : settings) {
        if (setting.name == name) {
            return setting;
        }
    }
    return {};
}

PwqualityRules pwqualityRules(const QString &stack, const QStringList &options)
{
    PwqualityRules result;
    const QVector<BindingSetting> inFiles = fileSettings(&result.remarks);
    const QVector<BindingSetting> inStack = settingsOf(stack, [&options](Rules *rules) {
        for (const QString &option : options) {
            rules->setOption(option);
        }
    });
    Rules rules;
    rules.read(nullptr); // an error is among the remarks already
    for (const QString &option : options) {
        if (!rules.setOption(option)) {
            result.remarks +=
                translate("Pwquality", "pam_pwquality does not take the option %1 of %2").arg(option, stack);
        }
    }
    QMap<QString, Origin> origins;
    const QVector<BindingSetting> inOrder = inFiles + inStack;
    for (const BindingSetting &setting : inOrder) {
        origins.insert(setting.name, setting.origin);
    }
    for (const KnownSetting &setting : knownSettings) {
        const QString name = QLatin1String(setting.name);
        result.settings += {name, rules.value(setting), origins.value(name)};
    }
    for (const BindingSetting &setting : inFiles) {
        if (setting.value != result.find(setting.name).value) {
            result.overridden += setting;
        }
    }
    return result;
}

QStringList pwqualityFiles()
{
    const QDir folder(QStringLiteral("/etc/security/pwquality.conf.d"));
    QStringList paths;
    const auto names = folder.entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    for (const QString &name : names) {
        if (name.endsWith(QLatin1String(".conf"))) {
            paths += folder.filePath(name);
        }
    }
    return paths + QStringList{QStringLiteral("/etc/security/pwquality.conf")};
}
