// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What the client's checkup finds on an installation with one thing wrong at a time.

#include "HelperId.h"
#include "tests/endtoend/Bus.h"
#include "tests/endtoend/Client.h"
#include "tests/endtoend/PamState.h"
#include "tests/support/Files.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScopedVariable.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <functional>
#include <memory>

namespace
{
QString id()
{
    return QLatin1String(helperId);
}

/// A file that is away, or other, until this object ends.
class ScopedFile
{
public:
    explicit ScopedFile(const QString &path) : m_path(path), m_away(path + QStringLiteral(".away-for-test"))
    {
        m_wasThere = QFile::rename(path, m_away);
    }
    ~ScopedFile()
    {
        QFile::remove(m_path);
        if (m_wasThere) {
            QFile::rename(m_away, m_path);
        }
    }

private:
    Q_DISABLE_COPY_MOVE(ScopedFile)

    QString m_path;
    QString m_away;
    bool m_wasThere = false;
};

using Fault = std::shared_ptr<ScopedFile>;

Fault without(const QString &path)
{
    return std::make_shared<ScopedFile>(path);
}

Fault with(const QString &path, const QByteArray &content)
{
    Fault fault = without(path);
    writeContent(path, content);
    return fault;
}

QByteArrayList stockLines()
{
    const QByteArray name = id().toLatin1();
    return {
        "ok    helper: /usr/lib/kauth/libexec/accountpolicieshelper",
        "ok    bus service: /usr/share/dbus-1/system-services/" + name + ".service",
        "ok    bus policy: /usr/share/dbus-1/system.d/" + name + ".conf",
        "ok    bus policy of KAuth: /usr/share/dbus-1/system.d/org.kde.kf5auth.conf",
        "ok    polkit actions: /usr/share/polkit-1/actions/" + name + ".policy",
        "ok    password prompt for terminals: /usr/bin/pkttyagent",
        "ok    system bus",
        "ok    the bus starts the helper",
        "ok    polkit knows the six actions",
        "ok    pam-auth-update: /usr/sbin/pam-auth-update",
        "note  the lockout policy cannot be written: there is no profile /usr/share/pam-configs/tally",
        "      install a package that brings one, or do without this policy",
        "ok    profile: /usr/share/pam-configs/pwquality",
        "note  pam_tally.so is not installed: no account is locked after failed logins",
        "      Debian has dropped this module after version 10",
        "ok    defaults of passwords: /etc/login.defs",
        "ok    defaults of useradd: /etc/default/useradd",
        "ok    nothing was left behind",
    };
}

/// The lines of the checkup that aren't those of a stock installation.
QByteArrayList unusualLines(const QByteArray &output)
{
    QByteArrayList unusual;
    const QByteArrayList stock = stockLines();
    for (const QByteArray &line : output.trimmed().split('\n')) {
        if (!stock.contains(line)) {
            unusual += line;
        }
    }
    return unusual;
}

struct Case {
    const char *name;
    std::function<QVector<Fault>()> make;
    int exitCode;
    QByteArrayList lines;
};

QVector<Case> fileCases()
{
    const QString helper = QStringLiteral("/usr/lib/kauth/libexec/accountpolicieshelper");
    const QString bus = QStringLiteral("/usr/share/dbus-1/system.d/%1.conf").arg(id());
    const QString kauth = QStringLiteral("/usr/share/dbus-1/system.d/org.kde.kf5auth.conf");
    const auto missing = [](const QString &path) {
        return [path] {
            return QVector<Fault>{without(path)};
        };
    };
    const QByteArray again = "      install the helper again";
    return {
        {"bus policy missing", missing(bus), 1, {"WRONG bus policy is missing: " + bus.toLatin1(), again}},
        {"bus policy of KAuth missing",
         missing(kauth),
         1,
         {"WRONG bus policy of KAuth is missing: " + kauth.toLatin1(), "      apt install libkf5auth-data"}},
        {"agent missing",
         missing(QStringLiteral("/usr/bin/pkttyagent")),
         1,
         {"WRONG password prompt for terminals is missing: /usr/bin/pkttyagent", "      apt install polkitd"}},
        {"helper not executable",
         [helper] {
             return QVector<Fault>{with(helper, "not a program")};
         },
         1,
         {"WRONG the helper cannot be executed: " + helper.toLatin1(), "      chmod 755 " + helper.toLatin1()}},
        {"helper open to all",
         [helper] {
             const QVector<Fault> faults{with(helper, contentOf(helper))};
             QFile::setPermissions(helper, QFile::Permissions(0x7777));
             return faults;
         },
         1,
         {"WRONG others than root may replace the helper: " + helper.toLatin1(),
          "      chown root " + helper.toLatin1() + "; chmod 755 " + helper.toLatin1()}},
        {"helper of another owner",
         [helper] {
             const QVector<Fault> faults{with(helper, contentOf(helper))};
             QFile::setPermissions(helper, QFile::Permissions(0x7755));
             runAs(root, QStringLiteral("chown"), {QString::number(nobody), helper});
             return faults;
         },
         1,
         {"WRONG others than root may replace the helper: " + helper.toLatin1(),
          "      chown root " + helper.toLatin1() + "; chmod 755 " + helper.toLatin1()}},
    };
}

QVector<Case> pamCases()
{
    const QString tally = QStringLiteral("/usr/share/pam-configs/tally");
    const QString cracklib = QStringLiteral("/usr/share/pam-configs/cracklib");
    const QString pwquality = QStringLiteral("/usr/share/pam-configs/pwquality");
    const QString module = QStringLiteral("/usr/lib/security/pam_tally.so");
    return {
        {"nothing wrong",
         [] {
             return QVector<Fault>();
         },
         0,
         {}},
        {"profile without its module",
         [tally] {
             return QVector<Fault>{with(tally, tallyProfile())};
         },
         1,
         {"WRONG /usr/share/pam-configs/tally names pam_tally.so, which is not installed",
          "      install the module, or remove the profile"}},
        {"profile that the tool leaves out",
         [tally, module] {
             return QVector<Fault>{with(tally, tallyProfile()), with(module, "x")};
         },
         1,
         {"WRONG /usr/share/pam-configs/tally can be written, but never comes into force",
          "      pam-auth-update of this system leaves out every profile that names pam_tally",
          "ok    module: /usr/lib/security/pam_tally.so"}},
        {"profile that doesn't name its module",
         [pwquality] {
             return QVector<Fault>{with(pwquality, "Name: empty\n# pam_pwquality.so\n")};
         },
         1,
         {"WRONG /usr/share/pam-configs/pwquality does not name pam_pwquality.so",
          "      bring its line back: dpkg -S /usr/share/pam-configs/pwquality"}},
        {"no profile for complexity",
         [pwquality] {
             return QVector<Fault>{without(pwquality)};
         },
         0,
         {"note  the complexity policy cannot be written: there is no profile /usr/share/pam-configs/pwquality, "
          "/usr/share/pam-configs/cracklib"}},
        {"second profile without its module",
         [cracklib] {
             return QVector<Fault>{with(cracklib, "required pam_cracklib.so\n")};
         },
         1,
         {"WRONG /usr/share/pam-configs/cracklib names pam_cracklib.so, which is not installed",
          "      install the module, or remove the profile"}},
        {"no dictionary",
         [] {
             return QVector<Fault>{without(QStringLiteral("/var/cache/cracklib/cracklib_dict.pwd"))};
         },
         1,
         {"WRONG pam_pwquality has no dictionary, and refuses every password", "      apt install cracklib-runtime"}},
        {"no stack",
         [] {
             return QVector<Fault>{without(QStringLiteral("/etc/pam.d/common-password"))};
         },
         1,
         {"WRONG /etc/pam.d/common-password is missing", "      apt install --reinstall libpam-runtime"}},
        {"no pam-auth-update",
         [] {
             return QVector<Fault>{without(QStringLiteral("/usr/sbin/pam-auth-update"))};
         },
         1,
         {"WRONG pam-auth-update is missing: /usr/sbin/pam-auth-update", "      apt install libpam-runtime"}},
        {"no login.defs",
         [] {
             return QVector<Fault>{without(QStringLiteral("/etc/login.defs"))};
         },
         1,
         {"WRONG defaults of passwords is missing: /etc/login.defs", "      apt install --reinstall login"}},
        {"no defaults of useradd",
         [] {
             return QVector<Fault>{without(QStringLiteral("/etc/default/useradd"))};
         },
         1,
         {"WRONG defaults of useradd is missing: /etc/default/useradd", "      apt install --reinstall passwd"}},
        {"leftovers",
         [] {
             return QVector<Fault>{with(QStringLiteral("/usr/share/pam-configs/.hidden.tmp"), ""),
                                   with(QStringLiteral("/usr/share/pam-configs/tally.tmp"), ""),
                                   with(QStringLiteral("/etc/login.defs.tmp"), ""),
                                   with(QStringLiteral("/etc/default/useradd.tmp"), ""),
                                   with(QStringLiteral("/etc/pam.d/common-auth.tmp"), "")};
         },
         1,
         {"WRONG left behind: /usr/share/pam-configs/.hidden.tmp, which pam-auth-update takes for a profile",
          "      rm /usr/share/pam-configs/.hidden.tmp",
          "WRONG left behind: /usr/share/pam-configs/tally.tmp, which pam-auth-update takes for a profile",
          "      rm /usr/share/pam-configs/tally.tmp",
          "note  left behind: /etc/login.defs.tmp",
          "      rm /etc/login.defs.tmp",
          "note  left behind: /etc/default/useradd.tmp",
          "      rm /etc/default/useradd.tmp",
          "note  left behind: /etc/pam.d/common-auth.tmp",
          "      rm /etc/pam.d/common-auth.tmp"}},
    };
}

QVector<Case> cases()
{
    return fileCases() + pamCases();
}

/// The bus looks into its folders when it is told to, or notices by itself.
void reloadBus()
{
    QCOMPARE(runAs(root, QStringLiteral("pkill"), {QStringLiteral("-HUP"), QStringLiteral("dbus-daemon")}).exitCode, 0);
}

/// Two findings, each with its remedy: the one that is given, and what follows from it.
void checkThatBusCannotStart(const QByteArray &cause, const QByteArray &error)
{
    QTRY_COMPARE(unusualLines(client(root, QStringLiteral("doctor")).standardOutput).size(), 4);
    const ProgramResult doctor = client(root, QStringLiteral("doctor"));
    QCOMPARE(unusualLines(doctor.standardOutput),
             QByteArrayList({cause,
                             "      install the helper again",
                             "WRONG the bus cannot start the helper: " + error,
                             "      look into the system's journal, then install the helper again"}));
    QCOMPARE(doctor.exitCode, 1);
}
}

class DoctorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void findsNothingWrongOnStockMachine();
    void findsWhatIsWrong_data();
    void findsWhatIsWrong();
    void findsHelperThatCannotStart();
    void findsMissingBusService();
    void findsMissingActions_data();
    void findsMissingActions();
    void findsPolkitThatDoesNotAnswer();
    void findsNoBus();
};

void DoctorTest::initTestCase()
{
    QVERIFY2(inSandbox(), outsideSandbox);
}

void DoctorTest::findsNothingWrongOnStockMachine()
{
    const ProgramResult doctor = client(nobody, QStringLiteral("doctor"));

    QCOMPARE(doctor.standardError, QByteArray());
    QCOMPARE(doctor.standardOutput.trimmed().split('\n'), stockLines());
    QCOMPARE(doctor.exitCode, 0);
}

void DoctorTest::findsWhatIsWrong_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < cases().size(); ++i) {
        QTest::newRow(cases().at(i).name) << i;
    }
}

void DoctorTest::findsWhatIsWrong()
{
    QFETCH(int, index);
    const Case wrong = cases().at(index);
    const QVector<Fault> faults = wrong.make();

    const ProgramResult doctor = client(root, QStringLiteral("doctor"));

    QCOMPARE(unusualLines(doctor.standardOutput), wrong.lines);
    QCOMPARE(doctor.exitCode, wrong.exitCode);
}

void DoctorTest::findsHelperThatCannotStart()
{
    endHelper();
    const Fault fault = without(QStringLiteral("/usr/lib/kauth/libexec/accountpolicieshelper"));

    checkThatBusCannotStart("WRONG the helper is missing: /usr/lib/kauth/libexec/accountpolicieshelper",
                            "Cannot launch daemon, file not found or permissions invalid");
}

void DoctorTest::findsMissingBusService()
{
    const QString service = QStringLiteral("/usr/share/dbus-1/system-services/%1.service").arg(id());
    endHelper();
    const Fault fault = without(service);
    reloadBus();

    checkThatBusCannotStart("WRONG bus service is missing: " + service.toLatin1(),
                            "The name " + id().toLatin1() + " was not provided by any .service files");
}

void DoctorTest::findsMissingActions_data()
{
    QTest::addColumn<QByteArray>("missing"); // the ends of names
    QTest::addColumn<QByteArray>("action");
    QTest::newRow("the first of two") << QByteArray("accountslockoutpolicy") << QByteArray("readaccountslockoutpolicy");
    for (const char *verb : {"read", "write"}) {
        for (const char *policy : {"accountslockout", "passwordcomplexity", "passwordexpiration"}) {
            const QByteArray action = QByteArray(verb) + policy + "policy";
            QTest::newRow(action.constData()) << action << action;
        }
    }
}

void DoctorTest::findsMissingActions()
{
    QFETCH(QByteArray, missing);
    QFETCH(QByteArray, action);
    const QString policy = QStringLiteral("/usr/share/polkit-1/actions/%1.policy").arg(id());
    {
        const Fault fault = with(policy, contentOf(policy).replace(missing, missing + "2"));
        // polkit notices new files by itself
        QTRY_COMPARE(unusualLines(client(root, QStringLiteral("doctor")).standardOutput),
                     QByteArrayList({"WRONG polkit does not know the action " + id().toLatin1() + '.' + action,
                                     "      install the helper again"}));
    }
    QTRY_COMPARE(client(root, QStringLiteral("doctor")).exitCode, 0);
}

void DoctorTest::findsPolkitThatDoesNotAnswer()
{
    const QString service = QStringLiteral("/usr/share/dbus-1/system-services/org.freedesktop.PolicyKit1.service");
    {
        const Fault fault = without(service);
        reloadBus();
        QCOMPARE(runAs(root, QStringLiteral("pkill"), {QStringLiteral("polkitd")}).exitCode, 0);

        QTRY_COMPARE(unusualLines(client(root, QStringLiteral("doctor")).standardOutput),
                     QByteArrayList({"WRONG polkit does not answer", "      apt install polkitd"}));
        QCOMPARE(client(root, QStringLiteral("doctor")).exitCode, 1);
    }
    reloadBus();
    QTRY_COMPARE(client(root, QStringLiteral("doctor")).exitCode, 0);
}

void DoctorTest::findsNoBus()
{
    const ScopedVariable address("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere");
    QByteArrayList lines = stockLines();
    const int bus = lines.indexOf("ok    system bus");
    lines.replace(bus, "WRONG the system bus cannot be reached");
    lines.replace(bus + 1, "      start the service dbus");
    lines.removeAt(bus + 2);

    const ProgramResult doctor = client(root, QStringLiteral("doctor"));

    QCOMPARE(doctor.standardOutput.trimmed().split('\n'), lines);
    QCOMPARE(doctor.exitCode, 1);
}

QTEST_GUILESS_MAIN(DoctorTest)
#include "DoctorTest.moc"
