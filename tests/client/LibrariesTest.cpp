// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What the client needs of other packages: a server has neither KAuth nor anything of a desktop.

#include "tests/support/Program.h"

#include <QTest>

#include <algorithm>
#include <unistd.h>

namespace
{
ProgramResult run(const char *program, const QStringList &arguments)
{
    return runAs(static_cast<int>(geteuid()), QString::fromLatin1(program), arguments);
}

QByteArray ofQt(const char *name)
{
    return QByteArray("libQt") + QByteArray::number(QT_VERSION_MAJOR) + name + ".so."
        + QByteArray::number(QT_VERSION_MAJOR);
}

/// The libraries that the linker has put into the program, but for those of the compiler and its sanitizers.
QByteArrayList neededBy(const char *program)
{
    QByteArrayList libraries;
    const QByteArray dynamic =
        run("readelf", {QStringLiteral("--dynamic"), QString::fromLocal8Bit(program)}).standardOutput;
    for (const QByteArray &line : dynamic.split('\n')) {
        const QByteArray name = line.mid(line.indexOf('[') + 1).split(']').constFirst();
        const QByteArrayList everybodys{"libstdc++", "libgcc_s", "libc", "libm", "libasan", "libubsan"};
        if (line.contains("(NEEDED)") && !everybodys.contains(name.split('.').constFirst())) {
            libraries += name;
        }
    }
    std::sort(libraries.begin(), libraries.end());
    return libraries;
}
}

class LibrariesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void needsNoDesktop();
    void loadsNoDesktop();
};

void LibrariesTest::needsNoDesktop()
{
    QByteArrayList expected{ofQt("Core"), ofQt("DBus"), "libpwquality.so.1", "libsystemd.so.0"};
    if (QT_VERSION_MAJOR > 5) {
        expected += ofQt("Core5Compat");
    }
    std::sort(expected.begin(), expected.end());

    QCOMPARE(neededBy(CLIENT), expected);
}

void LibrariesTest::loadsNoDesktop()
{
    const QByteArray loaded = run("ldd", {QStringLiteral(CLIENT)}).standardOutput;

    QVERIFY2(loaded.contains(ofQt("Core")), loaded.constData());
    for (const char *part : {"libKF", "libpolkit", "Gui", "Widgets", "libX11", "libGL", "libLLVM"}) {
        QVERIFY2(!loaded.contains(part), loaded.constData());
    }
}

QTEST_GUILESS_MAIN(LibrariesTest)
#include "LibrariesTest.moc"
