// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/commands/Commands.h"

#include "tests/support/TextRows.h"

class CommandsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void areFoundByTheirNames();
    void areMeantByOtherWords_data();
    void areMeantByOtherWords();
    void areNotMeantByShortWords();
};

void CommandsTest::areFoundByTheirNames()
{
    for (const auto &command : allCommands()) {
        QCOMPARE(findCommand(command->name()), command.get());
    }
    QCOMPARE(findCommand(QStringLiteral("Show")), nullptr);
    QCOMPARE(findCommand(QString()), nullptr);
}

void CommandsTest::areMeantByOtherWords_data()
{
    addTextRows(R"(
get => show
list => show
status => show
view => show
diff => check
verify => check
dump => export
save => export
log => history
lockout => show lockout
expiration => show expiration
shwo => show
chekc => check
aply => apply
sett => set
undoo => undo
hlep => help
reset =>
test =>
restore =>
add =>
)");
}

void CommandsTest::areMeantByOtherWords()
{
    QFETCH(QString, input);

    QTEST(meantCommand(input), "result");
}

void CommandsTest::areNotMeantByShortWords()
{
    const QString letters = QStringLiteral("eghlost");
    for (const QChar first : letters) {
        for (const QChar second : letters) {
            for (const QChar third : letters) {
                const QString word = QString(first) + second + third;
                if (word == QLatin1String("get") || word == QLatin1String("log") || word == QLatin1String("set")) {
                    continue;
                }
                QCOMPARE(meantCommand(word), QString());
            }
        }
    }
}

QTEST_GUILESS_MAIN(CommandsTest)
#include "CommandsTest.moc"
