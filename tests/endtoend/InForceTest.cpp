// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What the client calls in force is what the modules do: InForceTest.answers, and changes of passwords by real PAM, whose
// verdict has to be the one that follows from what show prints.

#include "tests/endtoend/Sessions.h"
#include "tests/support/PseudoTerminal.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <algorithm>
#include <random>

namespace
{
constexpr int userId = 4321;
constexpr int rounds = 120;
// of characters that no other password has: only what show prints is to make a difference
const char presentPassword[] = "@#@#@#@#@#@#";
const char rulesFolder[] = "/etc/security/pwquality.conf.d/";
const char rulesFile[] = "/etc/security/pwquality.conf";
const char limitsFile[] = "/etc/security/faillock.conf";

std::mt19937 &generator()
{
    static std::mt19937 engine(20261122);
    return engine;
}

int randomNumber(int least, int most)
{
    return std::uniform_int_distribution<int>(least, most)(generator());
}

bool happens(int percent)
{
    return randomNumber(1, 100) <= percent;
}

QByteArray oneOf(const QByteArrayList &texts)
{
    return texts.at(randomNumber(0, texts.size() - 1));
}

/// "name=value" of a rule that is about length, classes or enforcement.
QByteArray randomRule()
{
    static const QByteArrayList credits{"lcredit", "ucredit", "dcredit", "ocredit"};
    switch (randomNumber(0, 7)) {
    case 0:
    case 1:
        return "minlen=" + QByteArray::number(randomNumber(5, 18));
    case 2:
        return "minclass=" + QByteArray::number(randomNumber(0, 4));
    case 3:
        return happens(50) ? "enforcing=1" : "enforcing=0";
    case 4:
        return happens(50) ? "MINLEN=15" : "minlen=9x"; // the library takes the one and not the other
    case 5:
        return oneOf({"local_users_only", "enforce_for_root", "usercheck=0", "usercheck=1"}); // of no weight here
    default:
        return credits.at(randomNumber(0, 3)) + '=' + QByteArray::number(randomNumber(-2, 2));
    }
}

QByteArray randomRules(int most)
{
    QByteArrayList rules;
    for (int count = randomNumber(0, most); count > 0; --count) {
        rules += randomRule();
    }
    return rules.join(' ');
}

/// A file of rules, some of which nobody understands.
void writeRandomRules(const QString &path)
{
    QByteArray content = "# minlen = 99\n" + randomRules(3).replace(' ', '\n').replace("=", " = ") + '\n';
    if (happens(10)) {
        content.prepend("nonsense = 1\n");
    }
    writeContent(path, content);
}

void writeRandomStack()
{
    static const QByteArrayList ending{"password requisite pam_pwquality.so ",
                                       "-password\t[success=ok default=die] pam_pwquality.so "};
    static const QByteArrayList heeded{"PASSWORD required \\\n pam_pwquality.so [badwords=one two] gecoscheck ",
                                       "password [success=ok default=bad] pam_pwquality.so "};
    // some of them by how often it has asked
    static const QByteArrayList ignored{"password [success=ok authtok_err=die default=ignore] pam_pwquality.so ",
                                        "password [success=ok maxtries=die default=ignore] pam_pwquality.so ",
                                        "password [success=ok authtok_err=ignore default=die] pam_pwquality.so ",
                                        "# password requisite pam_pwquality.so "};
    const bool mayBeIgnored = happens(30);
    const QByteArray line = oneOf(mayBeIgnored ? ignored : happens(50) ? ending : heeded);
    const QByteArray retry = "retry=" + QByteArray::number(randomNumber(1, 3)) + ' ';
    // with it pam_unix takes nothing that another module has refused, even if that is ignored
    const QByteArray token = mayBeIgnored || happens(30) ? "" : "use_authtok ";
    writeContent(passwordStack,
                 line + retry + randomRules(4)
                     + " # minlen=99\n"
                       "password [success=1 default=ignore] pam_unix.so obscure "
                     + token
                     + "sha512 nodelay\n"
                       "password requisite pam_deny.so\npassword required pam_permit.so\n");
}

void writeRandomSystem()
{
    const QString folder = QString::fromLatin1(rulesFolder);
    writeRandomStack();
    // of what is not judged here
    writeContent(folder + QStringLiteral("00-others.conf"), "dictcheck = 0\ndifok = 0\n");
    writeRandomRules(folder + QStringLiteral("50-one.conf"));
    writeRandomRules(folder + QStringLiteral("60-two.conf"));
    writeRandomRules(QString::fromLatin1(rulesFile));
}

/// Small and capital letters, digits, and others; none twice in a row, none of the present password.
QByteArray randomPassword()
{
    static const QByteArrayList classes{"bcdfghjkmnpqrstvwxz", "BCDFGHJKMNPQRSTVWXZ", "23456789", "+-=_.,:;!?"};
    const int classCount = randomNumber(1, 4);
    const int first = randomNumber(0, 3);
    QByteArray password;
    for (int length = randomNumber(8, 19); length > 0; --length) {
        const QByteArray &characters = classes.at((first + randomNumber(0, classCount - 1)) % 4);
        password += characters.at(randomNumber(0, characters.size() - 1));
    }
    return password;
}

/// What show prints of the complexity policy.
class Shown
{
public:
    Shown()
    {
        const QByteArray printed = client(nobody, "show complexity --json").standardOutput;
        m_inForce = QJsonDocument::fromJson(printed)
                        .object()
                        .value(QStringLiteral("inForce"))
                        .toObject()
                        .value(QStringLiteral("complexity"))
                        .toObject();
    }

    bool enforces() const
    {
        return m_inForce.value(QStringLiteral("enforced")).toBool();
    }

    /// How far the password is above the rules, negative if it is below; by the words of pam_pwquality(8).
    int margin(const QByteArray &password) const
    {
        const QMap<QString, int> counts = classCounts(password);
        auto length = password.size();
        int missing = 0;
        for (auto count = counts.cbegin(); count != counts.cend(); ++count) {
            const int credit = number("settings", count.key());
            length += qBound(0, credit, count.value());
            missing += qMax(0, -credit - count.value());
        }
        const int classCount = 4 - counts.values().count(0);
        missing += qMax(0, number("others", QStringLiteral("minclass")) - classCount);
        return missing > 0 ? -missing : length - number("settings", QStringLiteral("minlen"));
    }

private:
    static QMap<QString, int> classCounts(const QByteArray &password)
    {
        const auto count = [&password](int (*isOfClass)(int)) {
            return static_cast<int>(std::count_if(password.begin(), password.end(), isOfClass));
        };
        return {{QStringLiteral("lcredit"), count(std::islower)},
                {QStringLiteral("ucredit"), count(std::isupper)},
                {QStringLiteral("dcredit"), count(std::isdigit)},
                {QStringLiteral("ocredit"), count(std::ispunct)}};
    }

    int number(const char *group, const QString &name) const
    {
        return m_inForce.value(QLatin1String(group))
            .toObject()
            .value(name)
            .toObject()
            .value(QStringLiteral("value"))
            .toInt();
    }

    QJsonObject m_inForce;
};

/// Whether the user's own passwd(1) stores the password, whatever it says: pam_unix may do so behind a module that refuses.
bool isTaken(const QByteArray &password)
{
    const QByteArray user = "policytester:";
    // chpasswd -c writes the hash itself and asks no module about the password
    runAs(root, "chpasswd -c SHA512 -s 1000", user + presentPassword + '\n');
    const QByteArrayList before = linesWith(user, "/etc/shadow");
    PseudoTerminal terminal(userId, QStringLiteral("passwd"), {});
    for (QByteArray typed = presentPassword; terminal.waitFor("assword: "); typed = password) {
        terminal.type(typed + '\r');
    }
    const int exitCode = terminal.waitForEnd();
    const bool changed = linesWith(user, "/etc/shadow") != before;
    if (!changed && exitCode == 0) {
        qFatal("passwd has not changed the password, and ends with 0");
    }
    return changed;
}

/// Of many passwords the one just above the rules, and the one just below.
QByteArrayList passwordsAtTheBorder(const Shown &shown)
{
    QByteArrayList passwords;
    for (int i = 0; i < 200; ++i) {
        passwords += randomPassword();
    }
    const auto isWorse = [&shown](const QByteArray &left, const QByteArray &right) {
        return shown.margin(left) < shown.margin(right);
    };
    std::sort(passwords.begin(), passwords.end(), isWorse);
    const auto above = std::find_if(passwords.begin(), passwords.end(), [&shown](const QByteArray &password) {
        return shown.margin(password) >= 0;
    });
    QByteArrayList chosen;
    if (above != passwords.end()) {
        chosen += *above;
    }
    if (above != passwords.begin()) {
        chosen += *std::prev(above);
    }
    return chosen;
}
}

class InForceTest : public Sessions
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void agreesWithPam();

private:
    QByteArray m_rules = contentOf(rulesFile);
    QByteArray m_limits = contentOf(limitsFile);
};

void InForceTest::cleanup()
{
    QDir(QString::fromLatin1(rulesFolder)).removeRecursively();
    writeContent(rulesFile, m_rules);
    writeContent(limitsFile, m_limits);
}

void InForceTest::agreesWithPam()
{
    QMap<bool, int> verdicts;
    int unenforced = 0;
    for (int round = 0; round < rounds; ++round) {
        writeRandomSystem();
        const Shown shown;
        unenforced += shown.enforces() ? 0 : 1;
        const auto passwords = passwordsAtTheBorder(shown);
        for (const QByteArray &password : passwords) {
            const bool expected = shown.margin(password) >= 0 || !shown.enforces();
            const bool taken = isTaken(password);
            ++verdicts[taken];
            QVERIFY2(taken == expected,
                     (password + (taken ? " was taken\n" : " was refused\n") + contentOf(passwordStack)
                      + client(nobody, "show complexity").standardOutput)
                         .constData());
        }
    }
    // all of it has been met
    QVERIFY2(verdicts.value(true) >= rounds / 2 && verdicts.value(false) >= rounds / 3 && unenforced >= rounds / 10,
             qPrintable(QStringLiteral("%1 taken, %2 refused, %3 systems that enforce nothing")
                            .arg(verdicts.value(true))
                            .arg(verdicts.value(false))
                            .arg(unenforced)));
}

QTEST_GUILESS_MAIN(InForceTest)
#include "InForceTest.moc"
