// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Whether PAM does what the policies of its modules say: on a machine that has booted, ordinary users log in and change
// their passwords, under settings drawn at random. A row's name has its seed and the settings.

#include "tests/machine/Machine.h"

#include <QDateTime>
#include <QMap>
#include <QTest>
#include <QThread>

#include <algorithm>
#include <cctype>
#include <random>
#include <vector>

namespace
{
constexpr unsigned firstSeed = 14;
constexpr unsigned lastSeed = 19;
constexpr int changesPerSeed = 14;

/// Numbers of a seed's own; the same ones everywhere, which std::uniform_int_distribution leaves open.
class Draw
{
public:
    explicit Draw(unsigned seed) : m_engine(seed)
    {
    }

    int number(int least, int most)
    {
        return least + static_cast<int>(m_engine() % static_cast<unsigned>(most - least + 1));
    }

    template<typename List>
    auto oneOf(const List &list) -> typename List::value_type
    {
        return list.at(number(0, static_cast<int>(list.size()) - 1));
    }

private:
    std::mt19937 m_engine;
};

qint64 now()
{
    return QDateTime::currentMSecsSinceEpoch();
}

/// When an account is locked, and for how long: for good if that is 0.
struct Lock {
    bool happens = true;
    int seconds = 0;
};

struct Limits {
    int deny = 3;
    int unlockTime = 0;
    bool locksRoot = false;
    int rootUnlockTime = -1; // not set

    QByteArray settings() const
    {
        QByteArray text = "deny=" + QByteArray::number(deny) + " unlock_time=" + time(unlockTime);
        if (locksRoot) {
            text += " even_deny_root=yes";
        }
        return rootUnlockTime < 0 ? text : text + " root_unlock_time=" + time(rootUnlockTime);
    }

    /// For who agrees to all that may come of it.
    QByteArray warning() const
    {
        return locksRoot || rootUnlockTime >= 0
            ? "accountpolicyctl: warning: root is locked too: whoever fails to log in as "
              "root often enough keeps root out\n"
            : "";
    }

    Lock lockOfRoot() const
    {
        // a time of root's own alone locks nobody, whatever pam_faillock(8) says
        return {locksRoot, rootUnlockTime < 0 ? unlockTime : rootUnlockTime};
    }

private:
    static QByteArray time(int seconds)
    {
        return seconds == 0 ? "never" : QByteArray::number(seconds);
    }
};

Limits drawnLimits(unsigned seed)
{
    Draw draw(seed);
    Limits limits;
    limits.deny = draw.number(1, 4);
    limits.unlockTime = draw.oneOf(std::vector<int>{0, 2, 3});
    limits.locksRoot = draw.number(0, 1) == 1;
    limits.rootUnlockTime = draw.oneOf(std::vector<int>{-1, -1, 0, 2});
    return limits;
}

struct Rules {
    int minlen = 8;
    int minclass = 0;
    int ocredit = 0;
    bool dictcheck = true;
    int remember = 0;

    QByteArray qualitySettings() const
    {
        return "minlen=" + QByteArray::number(minlen) + " minclass=" + QByteArray::number(minclass)
            + " ocredit=" + QByteArray::number(ocredit) + " dictcheck=" + (dictcheck ? "yes" : "no");
    }

    QByteArray historySettings() const
    {
        return remember == 0 ? "--off" : "remember=" + QByteArray::number(remember);
    }
};

Rules drawnRules(Draw *draw)
{
    Rules rules;
    rules.minlen = draw->number(9, 14);
    rules.minclass = draw->number(0, 3);
    rules.ocredit = draw->number(-1, 0);
    rules.dictcheck = draw->number(0, 2) > 0;
    rules.remember = draw->number(0, 3);
    return rules;
}

/// Takes the seconds out that pam_unix has somebody wait who fails.
const char haste[] = "sed -i 's/pam_unix.so.*/& nodelay/' /etc/pam.d/common-auth /etc/pam.d/common-password";

/// None twice in a row: those would be a matter of other rules.
QByteArray drawnPassword(Draw *draw, int length)
{
    static const QByteArrayList classes{"bdfhkmprtvxz", "BDFHKMPRTVXZ", "2345678", "+-=_.,;?"};
    const int kinds = draw->number(1, 4);
    const int first = draw->number(0, 3);
    QByteArray password;
    while (password.size() < length) {
        const QByteArray &characters = classes.at((first + password.size() % kinds) % 4);
        const char next = draw->oneOf(characters);
        if (!password.endsWith(next)) {
            password += next;
        }
    }
    return password;
}

bool has(const QByteArray &password, int (*isOfClass)(int))
{
    return std::any_of(password.begin(), password.end(), isOfClass);
}

int classCount(const QByteArray &password)
{
    return int(has(password, std::islower)) + int(has(password, std::isupper)) + int(has(password, std::isdigit))
        + int(has(password, std::ispunct));
}

/// Of words that cracklib's small dictionary has, some as people change them.
QByteArray drawnWord(Draw *draw)
{
    const QByteArray word = draw->oneOf(QByteArrayList{"administrative",
                                                       "appreciation",
                                                       "congratulate",
                                                       "deterministic",
                                                       "extraordinary",
                                                       "independently",
                                                       "neighborhood",
                                                       "philosophical",
                                                       "questionnaire",
                                                       "transformation"});
    switch (draw->number(0, 3)) {
    case 0:
        return word;
    case 1:
        return word.left(1).toUpper() + word.mid(1) + QByteArray::number(draw->number(1, 9));
    case 2:
        return word.toUpper() + '!';
    default:
        return word.left(1).toUpper() + word.mid(1) + '-' + QByteArray::number(draw->number(10, 99));
    }
}

/// Near the border of what is allowed; the first one of @p former is the present password.
QByteArray drawnCandidate(Draw *draw, int minlen, const QByteArrayList &former)
{
    switch (draw->number(0, 3)) {
    case 0:
        return drawnWord(draw);
    case 1:
        return draw->oneOf(former.mid(0, 5));
    default:
        return drawnPassword(draw, minlen + draw->number(-1, 2));
    }
}
}

class LoginTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void locksAsIsSet_data();
    void locksAsIsSet();
    void takesJustThePasswordsThatAreAllowed_data();
    void takesJustThePasswordsThatAreAllowed();
    void meetsAllReasonsToRefuse();
    void locksWhomStrangersTryBySsh();

private:
    /// When somebody tried to log in, and how that ended.
    struct Attempt {
        qint64 began;
        qint64 ended;
        bool isIn;
    };

    /// Runs a shell script on the machine as root; what it printed, after its exit code where that isn't 0.
    QByteArray run(const QByteArray &script) const;
    Attempt logIn(const QByteArray &account, const QByteArray &password = Machine::password) const;
    /// The last attempt of so many.
    Attempt fail(const QByteArray &account, int times) const;
    bool opensAfterFailures(const QByteArray &account, int times) const;
    void judgeLock(const QByteArray &account, int deny, const Lock &lock) const;
    void judgeUnlocking(const QByteArray &account) const;
    void judgeTime(const QByteArray &account, const Attempt &lastFailure, int seconds) const;

    /// Whether the user's own passwd(1) takes the new password.
    bool changes(const QByteArray &present, const QByteArray &next) const;
    bool isInDictionary(const QByteArray &password) const;
    QByteArrayList reasonsToRefuse(const QByteArray &password, const Rules &rules, const QByteArrayList &former) const;

    std::unique_ptr<Machine> m_machine;
    /// How often something was the only reason to refuse a password; taken ones are below "".
    QMap<QByteArray, int> m_reasons;
};

void LoginTest::initTestCase()
{
    m_machine = std::make_unique<Machine>();
    QCOMPARE(run("echo FAIL_DELAY 0 >/etc/default/su"), QByteArray());
}

void LoginTest::init()
{
    QCOMPARE(run("for account in root guest; do faillock --user $account --reset; done"), QByteArray());
}

QByteArray LoginTest::run(const QByteArray &script) const
{
    const QByteArray result = m_machine->run(script);
    return result.startsWith("0: ") ? result.mid(3) : result;
}

LoginTest::Attempt LoginTest::logIn(const QByteArray &account, const QByteArray &password) const
{
    const qint64 began = now();
    const QByteArray name = run("echo '" + password + "' | setpriv --reuid=65534 --regid=65534 --clear-groups su "
                                + account + " -c whoami 2>/dev/null");
    return {began, now(), name == account + '\n'};
}

LoginTest::Attempt LoginTest::fail(const QByteArray &account, int times) const
{
    Attempt last{};
    for (int i = 0; i < times; ++i) {
        last = logIn(account, "wrong");
        if (last.isIn) {
            qFatal("a wrong password was taken");
        }
    }
    return last;
}

bool LoginTest::opensAfterFailures(const QByteArray &account, int times) const
{
    fail(account, times);
    return logIn(account).isIn;
}

void LoginTest::locksAsIsSet_data()
{
    QTest::addColumn<unsigned>("seed");
    for (unsigned seed = firstSeed; seed <= lastSeed; ++seed) {
        QTest::addRow("seed %u: %s", seed, drawnLimits(seed).settings().constData()) << seed;
    }
}

void LoginTest::locksAsIsSet()
{
    QFETCH(unsigned, seed);
    const Limits limits = drawnLimits(seed);
    QCOMPARE(run("accountpolicyctl set faillock --replace --force --quiet deny=3"), QByteArray());
    QCOMPARE(run("accountpolicyctl set faillock --replace --force nodelay=yes " + limits.settings()),
             "faillock: in force\n" + limits.warning());
    QCOMPARE(run(haste), QByteArray());

    judgeLock("guest", limits.deny, {true, limits.unlockTime});
    judgeLock("root", limits.deny, limits.lockOfRoot());
}

void LoginTest::judgeLock(const QByteArray &account, int deny, const Lock &lock) const
{
    QVERIFY(opensAfterFailures(account, deny - 1));
    if (!lock.happens) {
        QVERIFY(opensAfterFailures(account, deny + 1));
        return;
    }
    const Attempt lastFailure = fail(account, deny);
    if (lock.seconds == 0) {
        judgeUnlocking(account);
    } else {
        judgeTime(account, lastFailure, lock.seconds);
    }
}

void LoginTest::judgeUnlocking(const QByteArray &account) const
{
    QVERIFY(!logIn(account).isIn);
    QCOMPARE(run("accountpolicyctl locked | sed 1d | cut -d ' ' -f 1"), account + '\n');
    QCOMPARE(run("accountpolicyctl unlock " + account), "no failed logins count against " + account + '\n');
    QVERIFY(logIn(account).isIn);
}

void LoginTest::judgeTime(const QByteArray &account, const Attempt &lastFailure, int seconds) const
{
    // the module counts whole seconds
    const qint64 notBefore = (lastFailure.began / 1000 + seconds) * 1000;
    const qint64 notAfter = lastFailure.ended + (seconds + 1) * 1000;
    Attempt attempt = logIn(account);
    while (!attempt.isIn) {
        QVERIFY(attempt.began <= notAfter);
        attempt = logIn(account);
    }
    QVERIFY(attempt.ended >= notBefore);
}

bool LoginTest::changes(const QByteArray &present, const QByteArray &next) const
{
    return run("printf '%s\\n' '" + present + "' '" + next + "' '" + next
               + "' | setpriv --reuid=guest --regid=guest --init-groups passwd >/dev/null 2>&1; echo $?")
        == "0\n";
}

bool LoginTest::isInDictionary(const QByteArray &password) const
{
    return run("echo '" + password + "' | cracklib-check") != password + ": OK\n";
}

QByteArrayList
LoginTest::reasonsToRefuse(const QByteArray &password, const Rules &rules, const QByteArrayList &former) const
{
    QByteArrayList reasons;
    if (password.size() < rules.minlen) {
        reasons += "short";
    }
    if (classCount(password) < rules.minclass) {
        reasons += "few classes";
    }
    if (rules.ocredit < 0 && !has(password, std::ispunct)) {
        reasons += "no other character";
    }
    if (password == former.first()) {
        reasons += "present";
    } else if (former.mid(0, rules.remember).contains(password)) {
        reasons += "former";
    }
    if (reasons.isEmpty() && rules.dictcheck && isInDictionary(password)) {
        reasons += "dictionary";
    }
    return reasons;
}

void LoginTest::takesJustThePasswordsThatAreAllowed_data()
{
    QTest::addColumn<unsigned>("seed");
    for (unsigned seed = firstSeed; seed <= lastSeed; ++seed) {
        Draw draw(seed);
        const Rules rules = drawnRules(&draw);
        const QByteArray settings = rules.qualitySettings() + ' ' + rules.historySettings();
        QTest::addRow("seed %u: %s", seed, settings.constData()) << seed;
    }
}

void LoginTest::takesJustThePasswordsThatAreAllowed()
{
    QFETCH(unsigned, seed);
    Draw draw(seed);
    const Rules rules = drawnRules(&draw);
    QByteArrayList former{"Start/Wert/0901"};
    QCOMPARE(run("accountpolicyctl set pwquality --replace " + rules.qualitySettings()),
             QByteArray("pwquality: in force\n"));
    // whatever it says: the passwords tell
    run("accountpolicyctl set pwhistory --force " + rules.historySettings());
    QCOMPARE(run(haste), QByteArray());
    QCOMPARE(run("rm -f /etc/security/opasswd; echo guest:" + former.first() + " | chpasswd -c SHA512"), QByteArray());

    for (int i = 0; i < changesPerSeed; ++i) {
        const QByteArray password = drawnCandidate(&draw, rules.minlen, former);
        const QByteArrayList reasons = reasonsToRefuse(password, rules, former);
        const bool taken = changes(former.first(), password);
        QVERIFY2(taken == reasons.isEmpty(),
                 (password + ", after " + former.join(' ') + ": " + reasons.join(", ")).constData());
        if (taken) {
            former.prepend(password);
        }
        ++m_reasons[reasons.size() > 1 ? "several" : reasons.value(0, "taken")];
    }
}

void LoginTest::meetsAllReasonsToRefuse()
{
    QCOMPARE(m_reasons.keys().join(", "),
             QByteArray("dictionary, few classes, former, no other character, present, several, short, taken"));
}

void LoginTest::locksWhomStrangersTryBySsh()
{
    QCOMPARE(run("accountpolicyctl set faillock --replace deny=3 unlock_time=never"),
             QByteArray("faillock: in force\n"));
    QCOMPARE(run("echo guest:" + Machine::password + " | chpasswd -c SHA512"), QByteArray());

    const std::unique_ptr<PseudoTerminal> ssh = m_machine->ssh("guest");
    for (int i = 0; i < 3; ++i) {
        QVERIFY2(answerPassword(ssh.get(), "wrong"), ssh->output().constData());
    }
    QVERIFY2(ssh->waitFor("Permission denied"), ssh->output().constData());
    QCOMPARE(run("accountpolicyctl locked | sed 1d | sed -E 's/ +[0-9-]+ [0-9:]+/ TIME/g'"),
             QByteArray("guest    3 TIME TIME  unlocked  127.0.0.1\n"));

    // who is locked out is asked for no password
    PseudoTerminal *console = m_machine->console();
    console->type("guest\r");
    QVERIFY2(console->waitFor("The account is locked due to 3 failed logins.\r\n"),
             console->output().right(300).constData());
    QVERIFY2(console->waitFor("Login incorrect\r\n"), console->output().right(300).constData());
    QVERIFY(console->waitFor("login: "));
    QCOMPARE(run("accountpolicyctl unlock guest"), QByteArray("no failed logins count against guest\n"));
    console->type("guest\r");
    QVERIFY2(answerPassword(console), console->output().right(300).constData());
    QVERIFY2(console->waitFor("ready> "), console->output().right(300).constData());
}

QTEST_GUILESS_MAIN(LoginTest)
#include "LoginTest.moc"
