// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/pwquality/PwqualityFile.h"

#include "messages/LocalText.h"
#include "policies/modules/ModulePolicy.h"

#include <array>
#include <memory>
#include <pwquality.h>
#include <sys/mman.h>
#include <unistd.h>

namespace
{
struct NumberedSetting {
    int number;
    const char *name;
};

/// The numbers that the library has for the policy's settings.
constexpr std::array numberedSettings{
    NumberedSetting{PWQ_SETTING_DIFF_OK, "difok"},
    NumberedSetting{PWQ_SETTING_MIN_LENGTH, "minlen"},
    NumberedSetting{PWQ_SETTING_MIN_CLASS, "minclass"},
    NumberedSetting{PWQ_SETTING_DIG_CREDIT, "dcredit"},
    NumberedSetting{PWQ_SETTING_UP_CREDIT, "ucredit"},
    NumberedSetting{PWQ_SETTING_LOW_CREDIT, "lcredit"},
    NumberedSetting{PWQ_SETTING_OTH_CREDIT, "ocredit"},
    NumberedSetting{PWQ_SETTING_MAX_REPEAT, "maxrepeat"},
    NumberedSetting{PWQ_SETTING_MAX_SEQUENCE, "maxsequence"},
    NumberedSetting{PWQ_SETTING_MAX_CLASS_REPEAT, "maxclassrepeat"},
    NumberedSetting{PWQ_SETTING_GECOS_CHECK, "gecoscheck"},
    NumberedSetting{PWQ_SETTING_DICT_CHECK, "dictcheck"},
    NumberedSetting{PWQ_SETTING_USER_CHECK, "usercheck"},
    NumberedSetting{PWQ_SETTING_USER_SUBSTR, "usersubstr"},
    NumberedSetting{PWQ_SETTING_ENFORCING, "enforcing"},
    NumberedSetting{PWQ_SETTING_RETRY_TIMES, "retry"},
    NumberedSetting{PWQ_SETTING_ENFORCE_ROOT, "enforce_for_root"},
    NumberedSetting{PWQ_SETTING_LOCAL_USERS, "local_users_only"},
};

// the library raises less to this
constexpr int shortestLimit = 6;

/// A file in memory, which the library can open by a path that has no folder of more files beside it.
class MemoryFile
{
public:
    explicit MemoryFile(const QByteArray &content) : m_descriptor(memfd_create("pwquality", MFD_CLOEXEC))
    {
        const auto size = static_cast<size_t>(content.size());
        m_isWhole = m_descriptor != -1 && write(m_descriptor, content.constData(), size) == content.size();
    }

    ~MemoryFile()
    {
        if (m_descriptor != -1) {
            close(m_descriptor);
        }
    }

    bool isWhole() const
    {
        return m_isWhole;
    }

    QByteArray path() const
    {
        return "/proc/self/fd/" + QByteArray::number(m_descriptor);
    }

private:
    Q_DISABLE_COPY(MemoryFile)

    int m_descriptor;
    bool m_isWhole = false;
};

/// The library's settings, all made this number before they are read; the shortest password is that much longer than the
/// shortest one that the library allows.
class LibrarySettings
{
public:
    explicit LibrarySettings(int filling)
    {
        for (const NumberedSetting &setting : numberedSettings) {
            const int least = setting.number == PWQ_SETTING_MIN_LENGTH ? shortestLimit : 0;
            pwquality_set_int_value(m_settings.get(), setting.number, least + filling);
        }
    }

    /// What is wrong with the file; empty if nothing is.
    QString read(const MemoryFile &file)
    {
        void *details = nullptr;
        const int error = pwquality_read_config(m_settings.get(), file.path().constData(), &details);
        std::array<char, PWQ_MAX_ERROR_MESSAGE_LEN> text{};
        return error == 0 ? QString() : localText(pwquality_strerror(text.data(), text.size(), error, details));
    }

    int value(int number) const
    {
        int value = {};
        pwquality_get_int_value(m_settings.get(), number, &value);
        return value;
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

QVariant typedValue(const ModuleSetting &setting, int number)
{
    return setting.kind == ModuleSetting::Kind::Number ? QVariant(qlonglong(number)) : QVariant(number != 0);
}
}

QVariantMap pwqualityFileValues(const QByteArray &content, QString *error)
{
    const MemoryFile file(content);
    if (!file.isWhole()) {
        *error = qt_error_string();
        return {};
    }
    // what the file sets comes out the same, whatever was there before
    LibrarySettings one(1);
    LibrarySettings other(2);
    *error = one.read(file);
    other.read(file);
    QVariantMap values;
    for (const NumberedSetting &numbered : numberedSettings) {
        const QString name = QLatin1String(numbered.name);
        const ModuleSetting *setting = pwqualityPolicy().find(name);
        const QVariant value = typedValue(*setting, one.value(numbered.number));
        const bool isUnset = setting->kind == ModuleSetting::Kind::Flag && value == QVariant(false);
        if (one.value(numbered.number) == other.value(numbered.number) && !isUnset) {
            values.insert(name, value);
        }
    }
    return values;
}
