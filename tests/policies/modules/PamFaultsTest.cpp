// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/PamFaults.h"

#include "policies/modules/ModuleReading.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"
#include "tests/support/Rows.h"
#include "tests/support/Sandbox.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <random>

namespace
{
/// Stacks made by chance of what always succeeds and what always fails.
class StackGenerator
{
public:
    explicit StackGenerator(unsigned seed) : m_chance(seed)
    {
    }

    QByteArray stack(const QByteArrayList &included)
    {
        const QByteArrayList controls{"required",
                                      "requisite",
                                      "sufficient",
                                      "optional",
                                      "Required",
                                      "[success=1 default=ignore]",
                                      "[success=2 default=bad]",
                                      "[default=1]",
                                      "[success=ok default=reset]",
                                      "[auth_err=ok success=done]",
                                      "[auth_err=ignore module_unknown=ignore success=ok]",
                                      "[success=reset default=die]",
                                      "[success=done auth_err=done]"};
        const QByteArrayList modules{"pam_permit.so", "pam_permit.so", "pam_deny.so", "pam_absent.so"};
        QByteArray text;
        for (int lines = number(1, 5); lines > 0; --lines) {
            const int kind = included.isEmpty() ? 9 : number(0, 9);
            text += kind == 0 ? "@include " + one(included)
                : kind == 1   ? "auth include " + one(included)
                : kind == 2
                ? "auth substack " + one(included)
                : one({"auth ", "-auth ", "AUTH\t", "auth\t", "-Auth ", "auth  ", "auth ", "auth ", "auht "})
                    + one(controls) + one({" ", " \\\n ", " \\ \t\n "}) + one(modules);
            text += one({"\n", "\n", " # auth required pam_deny.so\n"});
        }
        return text;
    }

private:
    int number(int least, int most)
    {
        return least + int(m_chance() % unsigned(most - least + 1));
    }

    QByteArray one(const QByteArrayList &choices)
    {
        return choices.at(number(0, int(choices.size()) - 1));
    }

    std::mt19937 m_chance;
};
}

class PamFaultsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void finds_data();
    void finds();
    void followsJumps_data();
    void followsJumps();
    void followsLogins_data();
    void followsLogins();
    void findsNothingOnThisMachine();
    void findsModulesOfThisArchitecture();
    void readsPackagesServices();
    void judgesAsLibpam_data();
    void judgesAsLibpam();
};

void PamFaultsTest::finds_data()
{
    const Rows<QByteArray, QStringList> row("stack", "faults");
    const auto one = [](const char *fault) {
        return QStringList{QStringLiteral("own: auth: ") + QLatin1String(fault)};
    };
    const QStringList none;
    row("nothing in no lines", "", none);
    row("nothing in a stack that works",
        "auth [success=1 default=ignore] pam_unix.so nullok\n"
        "auth requisite pam_deny.so\nauth required pam_permit.so\n",
        none);
    row("a missing module",
        "auth optional pam_absent.so\nauth required pam_permit.so\n",
        one("pam_absent.so is not installed"));
    row("a missing module by its path",
        "auth optional /opt/pam_a.so\nauth required pam_permit.so\n",
        one("pam_a.so is not installed"));
    row("no module that may be missing", "-auth optional pam_absent.so\nauth required pam_permit.so\n", none);
    row("a module without its ending",
        "auth optional pam_permit\nauth required pam_permit.so\n",
        one("pam_permit is not installed"));
    row("a jump behind the end",
        "auth required pam_permit.so\nauth [success=2 default=ignore] pam_unix.so\nauth required pam_permit.so\n",
        one("pam_unix.so jumps out of its stack"));
    row("no jump to the end",
        "auth required pam_permit.so\nauth [success=1 default=ignore] pam_unix.so\nauth required pam_permit.so\n",
        none);
    row("a jump to the end without a success",
        "auth [default=1] pam_permit.so\nauth required pam_permit.so\n",
        one("nothing can succeed"));
    row("a jump behind the end from the last line",
        "auth required pam_permit.so\nauth [success=1 default=ignore] pam_unix.so\n",
        one("pam_unix.so jumps out of its stack"));
    row("no jump into the file that includes it",
        "@include jumping\nauth required pam_permit.so\nauth required pam_permit.so\n",
        none);
    row("a jump out of a substack",
        "auth substack jumping\nauth required pam_permit.so\nauth required pam_permit.so\n",
        one("pam_unix.so jumps out of its stack"));
    row("no jump over a substack",
        "auth [success=1 default=ignore] pam_unix.so\nauth substack two\nauth required pam_permit.so\n",
        none);
    row("a jump over more than a substack",
        "auth [success=3 default=ignore] pam_unix.so\nauth substack two\nauth required pam_permit.so\n",
        one("pam_unix.so jumps out of its stack"));
    row("a wrong word",
        "auth needed pam_permit.so\nauth required pam_permit.so\n",
        one("pam_permit.so has the control \"needed\", which does not exist") + one("nothing can succeed"));
    row("a wrong verdict",
        "auth [succes=ok] pam_permit.so\nauth required pam_permit.so\n",
        one("pam_permit.so has the control \"succes=ok\", which does not exist") + one("nothing can succeed"));
    row("a jump of nothing",
        "auth [success=0] pam_permit.so\nauth required pam_permit.so\n",
        one("pam_permit.so has the control \"success=0\", which does not exist") + one("nothing can succeed"));
    row("a wrong type",
        "auht required pam_permit.so\nauth required pam_permit.so\n",
        one("\"auht\" is no type") + one("nothing can succeed"));
    row("no blanks in brackets", "auth [ success=ok   default=bad ] pam_permit.so\n", none);
    row("a missing file", "auth include absent\nauth required pam_permit.so\n", one("absent cannot be included"));
    row("a file that includes itself",
        "auth required pam_permit.so\nauth include own\n",
        one("own cannot be included"));
    row("a stack of failures", "auth required pam_permit.so\nauth required pam_deny.so\n", one("nothing can succeed"));
    row("a stack that never says yes",
        "auth [success=ignore default=ignore] pam_unix.so\n",
        one("nothing can succeed"));
    row("an end by who counts failures",
        "auth requisite pam_faillock.so authfail\nauth required pam_permit.so\n",
        one("nothing can succeed"));
}

void PamFaultsTest::finds()
{
    QFETCH(const QByteArray, stack);
    QFETCH(const QStringList, faults);
    const QTemporaryDir folder;
    const QString pam = folder.path() + QLatin1String("/etc/pam.d/");
    writeContent(pam + QLatin1String("own"), stack);
    writeContent(pam + QLatin1String("jumping"), "auth [success=1 default=ignore] pam_unix.so\n");
    writeContent(pam + QLatin1String("two"), "auth optional pam_permit.so\nauth optional pam_permit.so\n");

    QCOMPARE(pamServiceFaults(folder.path(), QStringLiteral("own")), faults);
}

void PamFaultsTest::followsJumps_data()
{
    const Rows<QByteArray, RowText> row("stack", "jump");
    row("none", "auth sufficient pam_unix.so\n@include common-auth\n", "");
    row("over a line of its own",
        "auth [success=1 default=ignore] pam_unix.so\nauth required pam_deny.so\nauth required pam_permit.so\n",
        "pam_permit.so in /etc/pam.d/own");
    row("over a line that is not of its type",
        "auth [success=1 default=ignore] pam_unix.so\naccount required pam_deny.so\nauth required pam_deny.so\n",
        "the end");
    row("to a second line of a module",
        "auth [success=1 default=ignore] pam_unix.so\nauth required pam_permit.so\nauth required pam_permit.so\n",
        "pam_permit.so (2) in /etc/pam.d/own");
    row("to a file that is included",
        "auth [success=1 default=ignore] pam_unix.so\nauth required pam_deny.so\n@include common-auth\n",
        "the beginning of common-auth");
    row("to one that is included by a line",
        "auth [success=1 default=ignore] pam_unix.so\nauth required pam_deny.so\nauth include outer\n",
        "the beginning of outer");
    row("into a file that is included",
        "auth [success=2 default=ignore] pam_unix.so\n@include common-auth\n",
        "pam_permit.so in /etc/pam.d/common-auth");
    row("behind a file that is included",
        "auth [success=3 default=ignore] pam_unix.so\n@include common-auth\nauth required pam_permit.so\n",
        "pam_permit.so in /etc/pam.d/own");
    row("over a substack",
        "auth [success=1 default=ignore] pam_unix.so\nauth substack common-auth\nauth required pam_permit.so\n",
        "pam_permit.so in /etc/pam.d/own");
}

void PamFaultsTest::followsJumps()
{
    QFETCH(const QByteArray, stack);
    QFETCH(const QString, jump);
    const QTemporaryDir folder;
    const QString pam = folder.path() + QLatin1String("/etc/pam.d/");
    writeContent(pam + QLatin1String("own"), stack);
    // its own jumps are those of the tool that writes it
    writeContent(pam + QLatin1String("common-auth"),
                 "# here are the per-package modules (the \"Primary\" block)\n"
                 "auth [success=1 default=ignore] pam_unix.so\nauth requisite pam_deny.so\n"
                 "auth required pam_permit.so\n");
    writeContent(pam + QLatin1String("outer"), "@include common-auth\n");

    QCOMPARE(pamJumps(folder.path()),
             jump.isEmpty() ? QStringList()
                            : QStringList{QLatin1String("own: auth: /etc/pam.d/own:1 jumps to ") + jump});
}

void PamFaultsTest::followsLogins_data()
{
    const Rows<QByteArray, bool, bool> row("stack", "counts", "keepsOut");
    const QByteArray unix = "auth [success=2 default=ignore] pam_unix.so\n";
    const QByteArray authfail = "auth [default=die] pam_faillock.so authfail\n";
    const QByteArray rest = "auth requisite pam_deny.so\nauth required pam_permit.so\n";
    const auto preauth = [](const QByteArray &control) -> QByteArray {
        return "auth " + control + " pam_faillock.so preauth\n";
    };
    row("as ours", preauth("requisite") + unix + authfail + rest, true, true);
    row("looks and goes on", preauth("required") + unix + authfail + rest, true, true);
    row("looks for nothing", preauth("optional") + unix + authfail + rest, true, false);
    row("looks for nothing in brackets", preauth("[default=ignore]") + unix + authfail + rest, true, false);
    row("lets in before it looks",
        "auth sufficient pam_unix.so\n" + preauth("requisite") + authfail + rest,
        true,
        false);
    row("denies before it counts", preauth("requisite") + unix + rest + authfail, false, true);
    row("jumps over what counts",
        preauth("requisite") + "auth [success=2 default=1] pam_unix.so\n" + authfail + rest,
        false,
        true);
    row("looks after a right password",
        "auth [success=1 default=bad] pam_unix.so\n" + authfail
            + "auth sufficient pam_faillock.so authsucc\nauth required pam_deny.so\n",
        true,
        true);
    row("excepts some",
        "auth [success=1 default=ignore] pam_succeed_if.so uid < 500\n" + preauth("requisite") + unix + authfail + rest,
        true,
        true);
    row("jumps over all",
        preauth("requisite") + "auth [success=3 default=ignore] pam_permit.so\n" + unix + authfail + rest,
        false,
        true);
}

void PamFaultsTest::followsLogins()
{
    QFETCH(const QByteArray, stack);
    const QTemporaryDir folder;
    writeContent(folder.path() + QLatin1String("/etc/pam.d/own"), stack);

    const FaillockEffect effect = faillockEffect(folder.path(), QStringLiteral("own"));
    QTEST(effect.counts, "counts");
    QTEST(effect.keepsOut, "keepsOut");
}

void PamFaultsTest::findsNothingOnThisMachine()
{
    QVERIFY(contentOf("/etc/pam.d/login").contains("@include common-auth"));
    QCOMPARE(pamFaults(QString()), QStringList());
}

void PamFaultsTest::findsModulesOfThisArchitecture()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    writeContent("/usr/lib/pdp11-linux-gnu/security/pam_foreign.so", "x");
    writeContent("/usr/lib/security/pam_own.so", "x");

    QCOMPARE(pamModulePath(QStringLiteral("pam_foreign")), QString());
    QCOMPARE(pamModulePath(QStringLiteral("pam_own")), QStringLiteral("/usr/lib/security/pam_own.so"));
    QVERIFY(pamModulePath(QStringLiteral("pam_unix")).endsWith(QLatin1String("-linux-gnu/security/pam_unix.so")));
    QFile::remove(QStringLiteral("/usr/lib/security/pam_own.so"));
}

void PamFaultsTest::readsPackagesServices()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    const QString packaged = QStringLiteral("/usr/lib/pam.d/packaged");
    const QString name = QStringLiteral("packaged");
    const auto login = [] {
        return runAs(root, "pamtester packaged root authenticate").exitCode;
    };
    writeContent(packaged, "auth required pam_permit.so\n");
    QCOMPARE(pamServiceFaults(QString(), name), QStringList());
    QCOMPARE(login(), 0);
    writeContent(packaged, "auth required pam_deny.so\n");
    QVERIFY(pamFaults(QString()).contains(QStringLiteral("packaged: auth: nothing can succeed")));
    QCOMPARE(login(), 1);

    // before the other one, which no file can include
    writeContent("/etc/pam.d/packaged", "auth required pam_permit.so\n");
    QCOMPARE(pamServiceFaults(QString(), name), QStringList());
    QCOMPARE(login(), 0);
    writeContent("/usr/lib/pam.d/included", "auth required pam_permit.so\n");
    writeContent("/etc/pam.d/packaged", "auth include included\n");
    QCOMPARE(pamServiceFaults(QString(), name).constFirst(),
             QStringLiteral("packaged: auth: included cannot be included"));
    QCOMPARE(login(), 1);
    for (const char *file : {"/usr/lib/pam.d/packaged", "/usr/lib/pam.d/included", "/etc/pam.d/packaged"}) {
        QFile::remove(QLatin1String(file));
    }
}

void PamFaultsTest::judgesAsLibpam_data()
{
    const Rows<uint> row("seed");
    for (uint seed = 1; seed <= 8; ++seed) {
        row(("seed " + QByteArray::number(seed)).constData(), seed);
    }
}

void PamFaultsTest::judgesAsLibpam()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    QFETCH(const uint, seed);
    StackGenerator generator(seed);
    int good = 0;
    int bad = 0;
    for (int i = 0; i < 60; ++i) {
        writeContent("/etc/pam.d/inner", generator.stack({}));
        writeContent("/etc/pam.d/own", generator.stack({"inner"}));
        const QStringList faults = pamServiceFaults(QString(), QStringLiteral("own"));
        // one that jumps behind its end ends by chance
        if (!faults.filter(QStringLiteral("jumps out")).isEmpty()) {
            continue;
        }
        const bool succeeds = !faults.contains(QStringLiteral("own: auth: nothing can succeed"));
        const int exitCode = runAs(root, "pamtester own root authenticate").exitCode;
        const QByteArray stacks = contentOf("/etc/pam.d/own") + "--\n" + contentOf("/etc/pam.d/inner");
        QVERIFY2((exitCode == 0) == succeeds, stacks.constData());
        ++(succeeds ? good : bad);
    }
    QVERIFY(good > 5 && bad > 5);
}

QTEST_GUILESS_MAIN(PamFaultsTest)
#include "PamFaultsTest.moc"
