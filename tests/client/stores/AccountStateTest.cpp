// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// An account's state, judged by the machine's own tools: chage(1), passwd(1), and the program by which pam_unix(8) decides.

#include "client/stores/AccountState.h"

#include "client/settings/SettingText.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedLatin1.h"

#include <QDateTime>
#include <QTest>

#include <limits>

namespace
{
qlonglong today()
{
    return QDateTime::currentSecsSinceEpoch() / 86400;
}

QByteArrayList days(const QList<qlonglong> &numbers)
{
    QByteArrayList texts{QByteArray()}; // not set
    for (const qlonglong number : numbers) {
        texts += QByteArray::number(number);
    }
    return texts;
}

/// The lines of "chage -l" that tell dates, each without its title.
QStringList datesByChage()
{
    const ProgramResult chage = runAs(root, "chage -l -i ager");
    QStringList dates;
    for (const QByteArray &line : chage.standardOutput.split('\n').mid(0, 4)) {
        dates += QString::fromLatin1(line.mid(line.indexOf(':') + 1).trimmed());
    }
    return dates;
}

QStringList datesOf(const AccountState &state)
{
    QStringList dates;
    for (const auto &day : {state.lastChange, state.passwordExpires, state.passwordInactive}) {
        dates += state.mustChange ? QStringLiteral("password must be changed")
            : day                 ? dateText(*day)
                                  : QStringLiteral("never");
    }
    return dates << (state.accountExpires ? dateText(*state.accountExpires) : QStringLiteral("never"));
}

/// Its numbers are those of pam(3).
int pamCode(AccountState::Login login)
{
    switch (login) {
    case AccountState::Login::Open:
        break;
    case AccountState::Login::AccountExpired:
        return 13; // PAM_ACCT_EXPIRED
    case AccountState::Login::MustChange:
    case AccountState::Login::PasswordExpired:
        return 12; // PAM_NEW_AUTHTOK_REQD
    case AccountState::Login::PasswordInactive:
        return 27; // PAM_AUTHTOK_EXPIRED
    }
    return 0;
}

void setShadow(const QByteArray &fields)
{
    writeContent(QStringLiteral("/etc/shadow"), "ager:" + fields + ":\n");
}
}
Q_DECLARE_METATYPE(AccountState::Password)

class AccountStateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void agreesWithTheMachine_data();
    void agreesWithTheMachine();
    void tellsWhetherThePasswordIsLocked_data();
    void tellsWhetherThePasswordIsLocked();
    void knowsNothingOfOthers();
    void findsAccountInTheEncodingOfTheLocale();
    void reckonsBeyondTheLastDay();
};

void AccountStateTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    writeContent(QStringLiteral("/etc/nsswitch.conf"), "passwd: files\nshadow: files\n");
    writeContent(QStringLiteral("/etc/passwd"), "root:x:0:0::/:/bin/sh\nager:x:4323:4323::/:/bin/sh\n");
}

void AccountStateTest::agreesWithTheMachine_data()
{
    QTest::addColumn<QByteArray>("expires");
    for (const QByteArray &expires : days({0, 1, today() - 1, today(), today() + 1, 2900000})) {
        QTest::newRow(expires.constData()) << expires;
    }
}

void AccountStateTest::agreesWithTheMachine()
{
    QFETCH(QByteArray, expires);
    const bool many = expires.isEmpty();
    const QByteArrayList changes =
        many ? days({0, 1, today() - 100, today() - 1, today(), today() + 5}) : days({0, today() - 100});
    const QByteArrayList maxima = many ? days({0, 1, 50, 99, 100, 101, 9999, 10000}) : days({50});
    const QByteArrayList inactives = many ? days({0, 49, 50, 51}) : days({50});
    for (const QByteArray &changed : changes) {
        for (const QByteArray &maximum : maxima) {
            for (const QByteArray &inactive : inactives) {
                const QByteArray fields = "x:" + changed + ":0:" + maximum + ":7:" + inactive + ':' + expires;
                setShadow(fields);

                const std::optional<AccountState> state = readAccountState(QStringLiteral("ager"));

                QVERIFY(state);
                QVERIFY2(datesOf(*state) == datesByChage(), fields.constData());
                const int judged = runAs(root, "unix_chkpwd ager chkexpiry").exitCode;
                QVERIFY2(pamCode(state->login) == judged, (fields + ": " + QByteArray::number(judged)).constData());
            }
        }
    }
}

void AccountStateTest::tellsWhetherThePasswordIsLocked_data()
{
    QTest::addColumn<QByteArray>("hash");
    QTest::addColumn<AccountState::Password>("password");
    QTest::addColumn<QByteArray>("letters");
    QTest::newRow("usable") << QByteArray("$y$x") << AccountState::Password::Usable << QByteArray("P");
    QTest::newRow("locked") << QByteArray("!$y$x") << AccountState::Password::Locked << QByteArray("L");
    QTest::newRow("never had one") << QByteArray("!") << AccountState::Password::Locked << QByteArray("L");
    QTest::newRow("none can be right") << QByteArray("*") << AccountState::Password::Locked << QByteArray("L");
    QTest::newRow("none needed") << QByteArray() << AccountState::Password::None << QByteArray("NP");
}

void AccountStateTest::tellsWhetherThePasswordIsLocked()
{
    QFETCH(QByteArray, hash);
    QFETCH(QByteArray, letters);
    setShadow(hash + ":20000:0:99999:7::");

    const std::optional<AccountState> state = readAccountState(QStringLiteral("ager"));

    QVERIFY(state);
    QTEST(state->password, "password");
    QCOMPARE(runAs(root, "passwd -S ager").standardOutput.split(' ').value(1), letters);
}

void AccountStateTest::knowsNothingOfOthers()
{
    QVERIFY(!readAccountState(QStringLiteral("nosuch")));
}

void AccountStateTest::findsAccountInTheEncodingOfTheLocale()
{
    writeContent(QStringLiteral("/etc/passwd"), "j\xfcrgen:x:4323:4323::/:/bin/sh\n");
    writeContent(QStringLiteral("/etc/shadow"), "j\xfcrgen:x:20000:0:99999:7:::\n");
    const ScopedLatin1 locale;

    // the arguments of a program are in UTF-8 with Qt 6, and so the program that is asked knows no such account
    QCOMPARE(readAccountState(QString::fromUtf8("j\xc3\xbcrgen")).has_value(), QT_VERSION_MAJOR == 5);
}

void AccountStateTest::reckonsBeyondTheLastDay()
{
    constexpr long most = std::numeric_limits<long>::max();
    QByteArray hash("x");
    const spwd entry{nullptr, hash.data(), most - 5, 0, 9999, 7, most, -1, 0};

    const AccountState state = accountStateOf(entry, AccountState::Login::PasswordInactive);

    QCOMPARE(*state.passwordExpires, qlonglong(most));
    QCOMPARE(*state.passwordInactive, qlonglong(most));
    QVERIFY(state.login == AccountState::Login::PasswordInactive);
}

QTEST_GUILESS_MAIN(AccountStateTest)
#include "AccountStateTest.moc"
