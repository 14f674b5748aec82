// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Each way in which a policy may change must show in the very next answer. Once for the policy that has most of it.

#include "service/Readings.h"
#include "policies/modules/ModulePolicy.h"
#include "policies/modules/ModuleReading.h"
#include "service/BusTypes.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"

#include <QTest>

#include <cstdlib>

namespace
{
/// All of an answer, so that it can be compared.
QString textOf(const Answer &answer)
{
    QString text;
    QDebug stream(&text);
    stream << answer.error << answer.errorText;
    for (const QVariant &value : answer.values) {
        if (value.canConvert<TextMap>()) {
            stream << value.value<TextMap>();
        } else {
            stream << value;
        }
    }
    return text;
}

void runInShell(const QString &command)
{
    QCOMPARE(std::system(command.toLocal8Bit().constData()), 0); // NOLINT(cert-env33-c): commands of this file
}
}

class ReadingsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void showsEachChangeAtOnce_data();
    void showsEachChangeAtOnce();
    void staysTrueWhateverTheOrder();
    void remembersNoFailure();
    void tellsSecretsToRootAlone();
};

void ReadingsTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
    registerBusTypes();
    runInShell(QStringLiteral("cp -a /etc/security/faillock.conf /etc/faillock.stock; mkdir -p /etc/security/more"));
}

void ReadingsTest::showsEachChangeAtOnce_data()
{
    QTest::addColumn<QString>("policy");
    QTest::addColumn<QString>("change");
    QTest::addColumn<QString>("back");
    const auto add = [](const char *policy, const char *name, const QString &change, const char *back) {
        QTest::addRow("%s, %s", policy, name) << QString::fromLatin1(policy) << change << QString::fromLatin1(back);
    };
    const QString module = pamModulePath(QStringLiteral("pam_faillock"));
    const char *stockFile = "rm -f /etc/security/faillock.conf; cp -a /etc/faillock.stock /etc/security/faillock.conf";
    add("faillock", "content", QStringLiteral("echo deny=7 >>/etc/security/faillock.conf"), stockFile);
    add("faillock",
        "replaced",
        QStringLiteral("echo deny=7 >/etc/f; mv /etc/f /etc/security/faillock.conf"),
        stockFile);
    add("faillock",
        "replaced by a link",
        QStringLiteral("echo deny=7 >/etc/f; ln -sf /etc/f /etc/security/faillock.conf"),
        stockFile);
    add("faillock",
        "folder replaced",
        QStringLiteral("mv /etc/security /etc/s; mkdir /etc/security; echo deny=7 >/etc/security/faillock.conf"),
        "rm -r /etc/security; mv /etc/s /etc/security");
    add("faillock",
        "stack",
        QStringLiteral("echo 'auth required pam_faillock.so authfail' >>/etc/pam.d/other"),
        "sed -i /pam_faillock/d /etc/pam.d/other");
    add("faillock",
        "new stack",
        QStringLiteral("echo 'auth required pam_faillock.so authfail' >/etc/pam.d/new"),
        "rm /etc/pam.d/new");
    add("faillock", "module gone", QStringLiteral("mv %1 /etc/module").arg(module), "true");
    add("faillock", "module installed", QStringLiteral("mv /etc/module %1").arg(module), "true");
    add("pwquality",
        "folder appears",
        QStringLiteral("mkdir -p /etc/security/pwquality.conf.d; echo minlen=20 "
                       ">/etc/security/pwquality.conf.d/50-accountpolicies.conf"),
        "true");
    add("pwquality", "folder goes", QStringLiteral("rm -r /etc/security/pwquality.conf.d"), "true");
    add("pwhistory",
        "profiles",
        QStringLiteral("printf 'Module: accountpolicies-pwhistory\\nrequisite pam_pwhistory.so\\n' "
                       ">>/var/lib/pam/password; sed -i '1i password requisite pam_pwhistory.so' "
                       "/etc/pam.d/common-password"),
        "sed -i /pam_pwhistory/d /etc/pam.d/common-password");
}

void ReadingsTest::showsEachChangeAtOnce()
{
    QFETCH(QString, policy);
    QFETCH(QString, change);
    QFETCH(QString, back);
    const ModulePolicy &read = *modulePolicy(policy);
    Readings readings;
    const QString before = textOf(readings.answerFor(read, Caller()));
    // from the first one it learns what to look at
    readings.answerFor(read, Caller());
    const std::optional<Answer> remembered = readings.remembered(read);
    QVERIFY(remembered);
    QCOMPARE(textOf(*remembered), before);

    runInShell(change);

    QVERIFY(!readings.remembered(read));
    const QString after = textOf(readings.answerFor(read, Caller()));
    QVERIFY(after != before);
    QCOMPARE(after, textOf(Readings().answerFor(read, Caller())));
    runInShell(back);
}

void ReadingsTest::staysTrueWhateverTheOrder()
{
    Readings readings;
    for (qlonglong deny = 1; deny <= 300; ++deny) {
        writeContent("/etc/security/faillock.conf", "deny = " + QByteArray::number(deny));
        for (qlonglong reads = deny % 4; reads > 0; --reads) {
            QCOMPARE(readings.answerFor(faillockPolicy(), Caller()).values.constFirst().toMap(),
                     QVariantMap({{QStringLiteral("deny"), deny}}));
        }
    }
}

void ReadingsTest::remembersNoFailure()
{
    runInShell(QStringLiteral("rm /etc/security/faillock.conf; mkdir /etc/security/faillock.conf"));
    Readings readings;
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(readings.answerFor(faillockPolicy(), Caller()).error, QLatin1String(failedError));
        QVERIFY(!readings.remembered(faillockPolicy()));
    }
}

void ReadingsTest::tellsSecretsToRootAlone()
{
    runInShell(QStringLiteral("rm -rf /etc/security/faillock.conf; echo deny = 5 >/etc/security/faillock.conf"));
    Readings readings;
    const Caller other{{}, 65534, 0, {}};
    for (const QString &mode : {QStringLiteral("644"), QStringLiteral("600"), QStringLiteral("644")}) {
        runInShell(QLatin1String("chmod ") + mode + QLatin1String(" /etc/security/faillock.conf"));
        const bool isSecret = mode == QLatin1String("600");
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(readings.answerFor(faillockPolicy(), Caller()).error, QString());
            QCOMPARE(readings.answerFor(faillockPolicy(), other).error,
                     isSecret ? QLatin1String(privateFileError) : QString());
        }
        QCOMPARE(readings.remembered(faillockPolicy()).has_value(), !isSecret);
    }
}

QTEST_GUILESS_MAIN(ReadingsTest)
#include "ReadingsTest.moc"
