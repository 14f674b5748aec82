// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Assignments.h"

#include "client/Translation.h"
#include "client/settings/SettingText.h"

#include <QVector>

#include <algorithm>
#include <numeric>
#include <utility>

namespace
{
/// How many characters to insert, remove, replace or swap with their neighbour lead from one word to the other.
int editDistance(const QString &left, const QString &right)
{
    // of the part of the left word up to a letter, and the two parts before, to each part of the right word
    QVector<int> last;
    QVector<int> row(right.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (int i = 0; i < left.size(); ++i) {
        const QVector<int> beforeLast = std::exchange(last, row);
        row[0] = i + 1;
        for (int j = 0; j < right.size(); ++j) {
            row[j + 1] = std::min({last[j] + (left[i] == right[j] ? 0 : 1), last[j + 1] + 1, row[j] + 1});
            if (i > 0 && j > 0 && left[i] == right[j - 1] && left[i - 1] == right[j]) {
                row[j + 1] = std::min(row[j + 1], beforeLast[j - 1] + 1);
            }
        }
    }
    return row.last();
}

QString parseAssignment(const SettingSchema &schema, const QString &subject, const QString &word, Wishes *wishes)
{
    const auto equals = word.indexOf(QLatin1Char('='));
    if (equals < 1) {
        return translate("Assignments", "\"%1\" is not of the form KEY=VALUE").arg(word);
    }
    const QString key = word.left(equals);
    const QString text = word.mid(equals + 1);
    const Setting *setting = schema.find(key);
    if (!setting) {
        return unknownKeyText(schema, subject, key);
    }
    if (wishes->contains(key)) {
        return translate("Assignments", "%1 is given twice").arg(key);
    }
    QVariant value;
    if (!text.isEmpty() && !(parseSettingText(*setting, text, &value) && isAllowed(*setting, value))) {
        return badValueText(*setting, text);
    }
    wishes->insert(key, value);
    return {};
}
}

QString nearest(const QString &word, const QStringList &candidates)
{
    QString best;
    auto fewest = word.size() / 4 + 1;
    for (const QString &candidate : candidates) {
        const int edits = editDistance(word, candidate);
        if (edits < fewest) {
            fewest = edits;
            best = candidate;
        }
    }
    return best;
}

QString unknownKeyText(const SettingSchema &schema, const QString &subject, const QString &key)
{
    const QString meant = nearest(key, schema.keys());
    if (!meant.isEmpty()) {
        return translate("Assignments", "%1 has no setting \"%2\"; did you mean \"%3\"?").arg(subject, key, meant);
    }
    return translate("Assignments", "%1 has no setting \"%2\"; it has %3")
        .arg(subject, key, schema.keys().join(QStringLiteral(", ")));
}

QString badValueText(const Setting &setting, const QString &value)
{
    return translate("Assignments", "%1: \"%2\" is not allowed; allowed is %3")
        .arg(setting.key, value, allowedText(setting));
}

QString parseAssignments(const SettingSchema &schema, const QString &subject, const QStringList &words, Wishes *wishes)
{
    for (const QString &word : words) {
        QString wrong = parseAssignment(schema, subject, word, wishes);
        if (!wrong.isEmpty()) {
            return wrong;
        }
    }
    return {};
}
