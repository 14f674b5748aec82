// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/UserCommand.h"

#include "client/Translation.h"
#include "client/output/SettingsTable.h"
#include "client/output/Table.h"
#include "client/output/Terminal.h"
#include "client/settings/Document.h"
#include "client/settings/Policies.h"
#include "client/settings/SettingText.h"
#include "client/stores/AccountState.h"
#include "client/stores/AccountStore.h"

#include <QJsonDocument>
#include <QMap>

namespace
{
QString passwordWords(AccountState::Password password)
{
    switch (password) {
    case AccountState::Password::Usable:
        break;
    case AccountState::Password::Locked:
        return translate("UserCommand", "locked");
    case AccountState::Password::None:
        return translate("UserCommand", "none: a login needs no password");
    }
    return translate("UserCommand", "usable");
}

QString loginWords(AccountState::Login login)
{
    switch (login) {
    case AccountState::Login::Open:
        break;
    case AccountState::Login::AccountExpired:
        return translate("UserCommand", "refused: the account has expired");
    case AccountState::Login::MustChange:
        return translate("UserCommand", "only with a new password: it must be changed");
    case AccountState::Login::PasswordInactive:
        return translate("UserCommand", "refused: the password has expired, and the time to change it is over");
    case AccountState::Login::PasswordExpired:
        return translate("UserCommand", "only with a new password: it has expired");
    }
    return translate("UserCommand", "open");
}

QString dayWords(const std::optional<qlonglong> &day)
{
    return day ? dateText(*day) : translate("UserCommand", "never");
}

QVector<QStringList> stateRows(const AccountState &state)
{
    const auto passwordDay = [&state](const std::optional<qlonglong> &day) {
        return state.mustChange ? translate("UserCommand", "must be changed") : dayWords(day);
    };
    return {{translate("UserCommand", "last change"), passwordDay(state.lastChange)},
            {translate("UserCommand", "password expires"), passwordDay(state.passwordExpires)},
            {translate("UserCommand", "password inactive"), passwordDay(state.passwordInactive)},
            {translate("UserCommand", "account expires"), dayWords(state.accountExpires)},
            {translate("UserCommand", "password"), passwordWords(state.password)},
            {translate("UserCommand", "login"), loginWords(state.login)}};
}

QString textForPeople(const Settings &settings, const std::optional<AccountState> &state)
{
    const QString text = settingsTable(accountSchema(), settings);
    return state ? text + QLatin1Char('\n') + table(stateRows(*state), 2) : text;
}

QJsonValue dayJson(const std::optional<qlonglong> &day)
{
    if (!day) {
        return QJsonValue::Null;
    }
    return hasDate(*day) ? QJsonValue(dateText(*day)) : QJsonValue(*day);
}

QString passwordKey(AccountState::Password password)
{
    static const QMap<AccountState::Password, QString> keys{
        {AccountState::Password::Usable, QStringLiteral("usable")},
        {AccountState::Password::Locked, QStringLiteral("locked")},
        {AccountState::Password::None, QStringLiteral("none")},
    };
    return keys.value(password);
}

QString loginKey(AccountState::Login login)
{
    static const QMap<AccountState::Login, QString> keys{
        {AccountState::Login::Open, QStringLiteral("open")},
        {AccountState::Login::AccountExpired, QStringLiteral("accountExpired")},
        {AccountState::Login::MustChange, QStringLiteral("mustChange")},
        {AccountState::Login::PasswordInactive, QStringLiteral("passwordInactive")},
        {AccountState::Login::PasswordExpired, QStringLiteral("passwordExpired")},
    };
    return keys.value(login);
}

QString accountJson(const QString &account, const Settings &settings, const std::optional<AccountState> &state)
{
    QJsonObject object{{QStringLiteral("account"), account},
                       {QStringLiteral("settings"), settingsToJson(accountSchema(), settings)}};
    if (state) {
        object.insert(QStringLiteral("mustChange"), state->mustChange);
        object.insert(QStringLiteral("lastChange"), dayJson(state->lastChange));
        object.insert(QStringLiteral("passwordExpires"), dayJson(state->passwordExpires));
        object.insert(QStringLiteral("passwordInactive"), dayJson(state->passwordInactive));
        object.insert(QStringLiteral("accountExpires"), dayJson(state->accountExpires));
        object.insert(QStringLiteral("password"), passwordKey(state->password));
        object.insert(QStringLiteral("login"), loginKey(state->login));
    }
    return QString::fromUtf8(QJsonDocument(object).toJson());
}
}

QString UserCommand::name() const
{
    return QStringLiteral("user");
}

QString UserCommand::summary() const
{
    return translate("UserCommand", "Show the expiration settings of an account (root only).");
}

QList<Argument> UserCommand::arguments() const
{
    return {{QStringLiteral("NAME"), translate("UserCommand", "The account's login name."), QStringLiteral("NAME")}};
}

QList<QCommandLineOption> UserCommand::options() const
{
    return {jsonOption()};
}

ExitCode UserCommand::run(const QCommandLineParser &line) const
{
    const QStringList words = line.positionalArguments();
    if (words.isEmpty()) {
        return usageError(translate("UserCommand", "which account?"));
    }
    if (words.size() > 1) {
        return tooManyArguments(words.at(1));
    }
    AccountStore store(words.first());
    const Reading reading = store.read();
    if (!reading.outcome.succeeded()) {
        printError(reading.outcome.error);
        return reading.outcome.code;
    }
    const std::optional<AccountState> state = readAccountState(words.first());
    if (line.isSet(QStringLiteral("json"))) {
        out().write(accountJson(words.first(), reading.settings, state));
    } else {
        out().write(out().bold(printable(words.first())) + QLatin1Char('\n') + textForPeople(reading.settings, state));
    }
    return ExitCode::Done;
}

QVector<Candidate> UserCommand::candidates(const QStringList &before) const
{
    return before.isEmpty() ? accountCandidates() : QVector<Candidate>();
}
