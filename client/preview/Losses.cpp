// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/preview/Losses.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <functional>

namespace
{
/// Splits at blanks, but not inside of brackets.
QStringList wordsOf(const QString &line)
{
    static const QRegularExpression word(QStringLiteral(R"(\[[^\]]*\]\S*|\S+)"));
    QStringList words;
    for (auto matches = word.globalMatch(line); matches.hasNext();) {
        words += matches.next().captured();
    }
    return words;
}

/// Brings lines that mean the same into the same form.
class LineForms
{
public:
    explicit LineForms(const PamPolicy &policy) : m_policy(policy)
    {
    }

    /// Empty for an empty line.
    QString form(const QByteArray &line) const
    {
        // Latin 1 keeps bytes apart that are no text, too
        QStringList words = wordsOf(QString::fromLatin1(line.simplified()));
        if (isOwn(line)) {
            words.erase(std::remove_if(words.begin(), words.end(), isManaged()), words.end());
        }
        if (line.trimmed().startsWith('#')) {
            return words.join(QLatin1Char(' '));
        }
        QStringList options = words.mid(behindModule);
        std::sort(options.begin(), options.end());
        options.removeDuplicates();
        return withoutJumps(words.mid(0, behindModule)).join(QLatin1Char(' ')) + QLatin1Char(' ')
            + options.join(QLatin1Char(' '));
    }

private:
    /// Type, control and module.
    static constexpr int behindModule = 3;

    bool isOwn(const QByteArray &line) const
    {
        return std::any_of(m_policy.profiles.begin(), m_policy.profiles.end(), [&line](const PamProfile &profile) {
            return line.contains(profile.module.toLatin1() + ".so");
        });
    }

    std::function<bool(const QString &)> isManaged() const
    {
        return [this](const QString &word) {
            return m_policy.option(word.section(QLatin1Char('='), 0, 0)) != nullptr;
        };
    }

    static QStringList withoutJumps(QStringList words)
    {
        static const QRegularExpression jump(QStringLiteral("=(\\d+|end)"));
        for (QString &word : words) {
            if (word.startsWith(QLatin1Char('['))) {
                word.replace(jump, QStringLiteral("=N"));
            }
        }
        return words;
    }

    const PamPolicy &m_policy;
};

/// The forms of the lines that nobody but the system has put into the stack.
QSet<QString> formsOfTheSystem(const LineForms &forms, const StackTexts &stack)
{
    QSet<QString> known;
    const auto recorded = stack.record.split('\n');
    for (const QByteArray &line : recorded) {
        known += forms.form(stack.type + ' ' + line);
    }
    const auto stock = stack.stock.split('\n');
    for (const QByteArray &line : stock) {
        known += forms.form(line);
    }
    return known;
}
}

QByteArrayList lostLines(const PamPolicy &policy, const StackTexts &stack)
{
    const LineForms forms(policy);
    QSet<QString> accounted = formsOfTheSystem(forms, stack);
    accounted += forms.form({});
    QHash<QString, int> left;
    const auto after = stack.after.split('\n');
    for (const QByteArray &line : after) {
        ++left[forms.form(line)];
    }
    QByteArrayList lost;
    const auto before = stack.before.split('\n');
    for (const QByteArray &line : before) {
        const QString form = forms.form(line);
        if (left.value(form) > 0) {
            --left[form];
        } else if (!accounted.contains(form)) {
            lost += line;
        }
    }
    return lost;
}
