// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tests/endtoend/PolkitRule.h"

#include "tests/support/Files.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QEventLoop>
#include <QFile>
#include <QTimer>

#include <functional>

namespace
{
constexpr int timeLimit = 60000; // ms

constexpr char ruleFile[] = "/etc/polkit-1/rules.d/10-test.rules";

/// Makes a change to the rules; comes back when polkit says that it has read them anew.
void changeRules(const std::function<void()> &change)
{
    QDBusConnection bus = QDBusConnection::systemBus();
    QEventLoop loop;
    const bool listening = bus.connect(QStringLiteral("org.freedesktop.PolicyKit1"),
                                       QStringLiteral("/org/freedesktop/PolicyKit1/Authority"),
                                       QStringLiteral("org.freedesktop.PolicyKit1.Authority"),
                                       QStringLiteral("Changed"),
                                       &loop,
                                       SLOT(quit()));
    // with the answer to this the bus has also seen what came before it: that somebody listens
    const bool running = bus.interface()->startService(QStringLiteral("org.freedesktop.PolicyKit1")).isValid();
    change();
    QTimer::singleShot(timeLimit, &loop, [&loop] {
        loop.exit(1);
    });
    if (!listening || !running || loop.exec() != 0) {
        qFatal("polkit does not read its rules anew");
    }
}
}

PolkitRule::PolkitRule(const QByteArray &actions, const QByteArray &account, const QByteArray &result, int seconds)
    : PolkitRule("polkit.addRule(function(action, subject) {\n"
                 "    if (action.id.indexOf(\""
                 + actions + "\") >= 0 && subject.user == \"" + account
                 + "\") {\n"
                   "        polkit.spawn([\"sleep\", \""
                 + QByteArray::number(seconds)
                 + "\"]);\n"
                   "        return polkit.Result."
                 + result + ";\n    }\n});\n")
{
}

PolkitRule::PolkitRule(const QByteArray &content)
{
    // polkit must not read half a rule
    const QString newFile = QString::fromLatin1(ruleFile) + QStringLiteral(".new");
    writeContent(newFile, content);
    changeRules([&newFile] {
        QFile::rename(newFile, QString::fromLatin1(ruleFile));
    });
}

PolkitRule::~PolkitRule()
{
    changeRules([] {
        QFile::remove(QString::fromLatin1(ruleFile));
    });
}
