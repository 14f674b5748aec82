// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/system/PamFiles.h"

#include "policies/pam/PamPolicyUpdate.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QFile>
#include <QTest>

class PamFilesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void knowsTheFilesOfPolicies();
    void findsModuleOutsideComments_data();
    void findsModuleOutsideComments();
    void findsModuleWhereItIsInstalled_data();
    void findsModuleWhereItIsInstalled();
    void knowsRefusedModules_data();
    void knowsRefusedModules();
    void tellsReason_data();
    void tellsReason();
    void tellsWhatComesOfChangedProfile();
    void tellsObstacle_data();
    void tellsObstacle();
};

void PamFilesTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void PamFilesTest::knowsTheFilesOfPolicies()
{
    const PamFiles *lockout = pamFilesOf(QStringLiteral("lockout"));
    const PamFiles *complexity = pamFilesOf(QStringLiteral("complexity"));

    QCOMPARE(lockout->stack, QStringLiteral("/etc/pam.d/common-auth"));
    QCOMPARE(lockout->profiles.size(), 1);
    QCOMPARE(lockout->profiles.first().path(), QStringLiteral("/usr/share/pam-configs/tally"));
    QCOMPARE(lockout->profiles.first().module, QStringLiteral("pam_tally"));
    QCOMPARE(complexity->stack, QStringLiteral("/etc/pam.d/common-password"));
    QCOMPARE(complexity->profiles.size(), 2);
    QCOMPARE(complexity->profiles.first().path(), QStringLiteral("/usr/share/pam-configs/pwquality"));
    QCOMPARE(complexity->profiles.first().module, QStringLiteral("pam_pwquality"));
    QCOMPARE(complexity->profiles.last().path(), QStringLiteral("/usr/share/pam-configs/cracklib"));
    QCOMPARE(complexity->profiles.last().module, QStringLiteral("pam_cracklib"));
    QVERIFY(!pamFilesOf(QStringLiteral("expiration")));
}

void PamFilesTest::findsModuleOutsideComments_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("named");
    QTest::newRow("only line") << QByteArray("auth required pam_tally.so deny=3") << true;
    QTest::newRow("later line") << QByteArray("x\n\n\tpam_tally.so\n") << true;
    QTest::newRow("behind a comment line") << QByteArray("# x\npam_tally.so\n") << true;
    QTest::newRow("before comment") << QByteArray("pam_tally.so # x") << true;
    QTest::newRow("in comment") << QByteArray("x # pam_tally.so") << false;
    QTest::newRow("in comment line") << QByteArray("# pam_tally.so\n") << false;
    QTest::newRow("other module") << QByteArray("pam_tally2.so\n") << false;
    QTest::newRow("without .so") << QByteArray("pam_tally\n") << false;
    QTest::newRow("empty") << QByteArray() << false;
}

void PamFilesTest::findsModuleOutsideComments()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, named);
    const QString path = QStringLiteral("/run/tmp/stack");
    writeContent(path, content);

    QCOMPARE(namesModule(path, QStringLiteral("pam_tally")), named);
    QVERIFY(!namesModule(QStringLiteral("/run/tmp/nowhere"), QStringLiteral("pam_tally")));
}

void PamFilesTest::findsModuleWhereItIsInstalled_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("of an architecture") << "/usr/lib/some-linux-gnu/security/pam_test.so";
    QTest::newRow("of none") << "/usr/lib/security/pam_test.so";
}

void PamFilesTest::findsModuleWhereItIsInstalled()
{
    QFETCH(QString, path);
    QCOMPARE(modulePath(QStringLiteral("pam_test")), QString());
    writeContent(path, "x");

    const QString found = modulePath(QStringLiteral("pam_test"));
    QFile::remove(path);

    QCOMPARE(found, path);
}

void PamFilesTest::knowsRefusedModules_data()
{
    QTest::addColumn<QByteArray>("tool");
    QTest::addColumn<bool>("refused");
    QTest::newRow("listed") << QByteArray("my @invalid_modules = ('pam_tally');\n") << true;
    QTest::newRow("listed without blanks") << QByteArray("my @invalid_modules=('pam_tally');\n") << true;
    QTest::newRow("listed with others") << QByteArray("my @invalid_modules = ('pam_x',\n  'pam_tally');\n") << true;
    QTest::newRow("list empty") << QByteArray("my @invalid_modules = ();\n'pam_tally';\n") << false;
    QTest::newRow("another listed") << QByteArray("my @invalid_modules = ('pam_tally2');\n") << false;
    QTest::newRow("longer name listed") << QByteArray("my @invalid_modules = ('my_pam_tally');\n") << false;
    QTest::newRow("no list") << QByteArray("'pam_tally'\n") << false;
}

void PamFilesTest::knowsRefusedModules()
{
    QFETCH(QByteArray, tool);
    QFETCH(bool, refused);
    writeContent(pamAuthUpdatePath(), tool);

    QCOMPARE(isModuleRefused(QStringLiteral("pam_tally")), refused);
}

void PamFilesTest::tellsReason_data()
{
    QTest::addColumn<QByteArray>("tool");
    QTest::addColumn<QByteArray>("profile");
    QTest::addColumn<QByteArray>("stack");
    QTest::addColumn<QString>("reason");

    const QByteArray refusing = "@invalid_modules = ('pam_tally');";
    const QByteArray accepting = "@invalid_modules = ();";
    QTest::newRow("refused") << refusing << QByteArray("pam_tally.so") << QByteArray("pam_tally.so")
                             << "pam-auth-update of this system leaves out every profile that names pam_tally";
    QTest::newRow("profile without the module")
        << refusing << QByteArray("x") << QByteArray("x")
        << "the profile has changed, but /etc/pam.d/common-auth does not name its module; is the profile enabled in "
           "pam-auth-update?";
    QTest::newRow("not in the stack")
        << accepting << QByteArray("pam_tally.so") << QByteArray("# pam_tally.so")
        << "the profile has changed, but /etc/pam.d/common-auth does not name its module; is the profile enabled in "
           "pam-auth-update?";
    QTest::newRow("stack edited")
        << accepting << QByteArray("pam_tally.so") << QByteArray("pam_tally.so deny=1")
        << "the profile has changed, but /etc/pam.d/common-auth has not; pam-auth-update keeps what was edited there "
           "by hand";
}

void PamFilesTest::tellsReason()
{
    QFETCH(QByteArray, tool);
    QFETCH(QByteArray, profile);
    QFETCH(QByteArray, stack);
    QFETCH(QString, reason);
    writeContent(pamAuthUpdatePath(), tool);
    writeContent(QStringLiteral("/usr/share/pam-configs/tally"), profile);
    writeContent(QStringLiteral("/etc/pam.d/common-auth"), stack);

    QCOMPARE(reasonNotInStack(*pamFilesOf(QStringLiteral("lockout"))), reason);
}

void PamFilesTest::tellsWhatComesOfChangedProfile()
{
    const PamFiles &files = *pamFilesOf(QStringLiteral("lockout"));
    writeContent(QStringLiteral("/usr/share/pam-configs/tally"), "pam_tally.so");

    writeContent(pamAuthUpdatePath(), "@invalid_modules = ();");
    QCOMPARE(changedProfileText(files),
             QStringLiteral("the profile has changed and comes into force with the next run of pam-auth-update"));

    writeContent(pamAuthUpdatePath(), "@invalid_modules = ('pam_tally');");
    QCOMPARE(changedProfileText(files),
             QStringLiteral("the profile has changed, but pam-auth-update of this system leaves out every profile that "
                            "names pam_tally"));
}

void PamFilesTest::tellsObstacle_data()
{
    QTest::addColumn<QStringList>("profiles");
    QTest::addColumn<QStringList>("modules");
    QTest::addColumn<QString>("refused");
    QTest::addColumn<QString>("obstacle");
    const QString tally = QStringLiteral("pam_tally");
    const QString pwquality = QStringLiteral("pam_pwquality");
    const QString cracklib = QStringLiteral("pam_cracklib");
    const QString hint = QStringLiteral("\n--force writes the profile all the same, for an image or a later system");

    QTest::newRow("lockout: none") << QStringList{QStringLiteral("tally")} << QStringList{tally} << QString()
                                   << QString();
    QTest::newRow("lockout: no profile") << QStringList() << QStringList{tally} << QString()
                                         << "its profile is missing (/usr/share/pam-configs/tally); install a package "
                                            "that brings one, since --force cannot write it either";
    QTest::newRow("lockout: no module") << QStringList{QStringLiteral("tally")} << QStringList() << QString()
                                        << QLatin1String("its module pam_tally.so is not installed") + hint;
    QTest::newRow("lockout: refused")
        << QStringList{QStringLiteral("tally")} << QStringList() << tally
        << QLatin1String("pam-auth-update of this system leaves out every profile that names pam_tally") + hint;
    QTest::newRow("complexity: none") << QStringList{QStringLiteral("pwquality")} << QStringList{pwquality} << QString()
                                      << QString();
    QTest::newRow("complexity: one of two") << QStringList{QStringLiteral("pwquality"), QStringLiteral("cracklib")}
                                            << QStringList{cracklib} << pwquality << QString();
    QTest::newRow("complexity: no profile") << QStringList() << QStringList{pwquality} << QString()
                                            << "its profile is missing (/usr/share/pam-configs/pwquality, "
                                               "/usr/share/pam-configs/cracklib); install a package that "
                                               "brings one, since --force cannot write it either";
    QTest::newRow("complexity: module of a profile that is missing")
        << QStringList{QStringLiteral("cracklib")} << QStringList{pwquality} << QString()
        << QLatin1String("its module pam_cracklib.so is not installed") + hint;
    QTest::newRow("complexity: both fail")
        << QStringList{QStringLiteral("pwquality"), QStringLiteral("cracklib")} << QStringList() << cracklib
        << QLatin1String("its module pam_pwquality.so is not installed\npam-auth-update of this system leaves out "
                         "every profile that "
                         "names pam_cracklib")
            + hint;
}

void PamFilesTest::tellsObstacle()
{
    QFETCH(QStringList, profiles);
    QFETCH(QStringList, modules);
    QFETCH(QString, refused);
    const QString policy = QString::fromLatin1(QTest::currentDataTag()).section(QLatin1Char(':'), 0, 0);
    const ScopedMount noProfiles = ScopedMount::smallDisk(QStringLiteral("/usr/share/pam-configs"), 64);
    for (const QString &profile : profiles) {
        writeContent(QStringLiteral("/usr/share/pam-configs/") + profile, "x");
    }
    QDir().mkpath(QStringLiteral("/usr/lib/security"));
    const ScopedMount noModules = ScopedMount::smallDisk(QStringLiteral("/usr/lib/security"), 64);
    const QString archive = QFileInfo(modulePath(QStringLiteral("pam_unix"))).path();
    const ScopedMount noOtherModules = ScopedMount::smallDisk(archive, 64);
    for (const QString &module : modules) {
        writeContent(QStringLiteral("/usr/lib/security/%1.so").arg(module), "x");
    }
    writeContent(pamAuthUpdatePath(), "my @invalid_modules = ('" + refused.toLatin1() + "');\n");

    QTEST(obstacleTo(*pamFilesOf(policy)), "obstacle");
}

QTEST_GUILESS_MAIN(PamFilesTest)
#include "PamFilesTest.moc"
