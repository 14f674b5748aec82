// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/ModulePolicy.h"

#include <QCoreApplication>
#include <QRegularExpression>

namespace
{
bool isOfKind(const ModuleSetting &setting, const QVariant &value)
{
    using Kind = ModuleSetting::Kind;
    const int type = value.userType();
    switch (setting.kind) {
    case Kind::Flag:
    case Kind::Switch:
        return type == QMetaType::Bool;
    case Kind::Number:
    case Kind::Seconds:
        return type == QMetaType::LongLong;
    case Kind::Text:
    case Kind::Path:
        return type == QMetaType::QString;
    }
    return false;
}

/// What stands in a file as one word.
bool isWord(const QString &text)
{
    static const QRegularExpression word(QStringLiteral(R"(\A[!"$-~]+\z)"));
    return word.match(text).hasMatch();
}

bool isInRange(const ModuleSetting &setting, const QVariant &value)
{
    switch (setting.kind) {
    case ModuleSetting::Kind::Number:
    case ModuleSetting::Kind::Seconds:
        return value.toLongLong() >= setting.minimum && value.toLongLong() <= setting.maximum;
    case ModuleSetting::Kind::Text:
        return isWord(value.toString());
    case ModuleSetting::Kind::Path:
        return isWord(value.toString()) && value.toString().startsWith(QLatin1Char('/'));
    default:
        return true;
    }
}
}

const ModuleSetting *ModulePolicy::find(const QString &setting) const
{
    for (const ModuleSetting &known : settings) {
        if (known.name == setting) {
            return &known;
        }
    }
    return nullptr;
}

QString ModulePolicy::faultIn(const QVariantMap &values) const
{
    for (auto value = values.begin(); value != values.end(); ++value) {
        const ModuleSetting *setting = find(value.key());
        if (!setting) {
            return QCoreApplication::translate("ModulePolicy", "%1 has no setting %2").arg(name, value.key());
        }
        if (!isOfKind(*setting, *value)) {
            return QCoreApplication::translate("ModulePolicy", "%1 has another type").arg(value.key());
        }
        if (!isInRange(*setting, *value)) {
            return QCoreApplication::translate("ModulePolicy", "%1 cannot be %2").arg(value.key(), value->toString());
        }
    }
    return {};
}

QVector<const ModulePolicy *> modulePolicies()
{
    return {&faillockPolicy(), &pwqualityPolicy(), &pwhistoryPolicy()};
}

const ModulePolicy *modulePolicy(const QString &name)
{
    const auto policies = modulePolicies();
    for (const ModulePolicy *policy : policies) {
        if (policy->name == name) {
            return policy;
        }
    }
    return nullptr;
}
