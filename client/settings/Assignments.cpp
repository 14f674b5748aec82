// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/settings/Assignments.h"

#include "client/Translation.h"
#include "client/settings/SettingText.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace
{
/// The number of characters to insert, remove or replace on the way from one word to the other.
int editDistance(const QString &left, const QString &right)
{
    std::vector<int> row(static_cast<std::size_t>(right.size()) + 1);
    std::iota(row.begin(), row.end(), 0);
    for (const QChar leftChar : left) {
        int diagonal = row[0]++;
        for (std::size_t i = 1; i < row.size(); ++i) {
            const int replaced = diagonal + (leftChar == right.at(static_cast<int>(i) - 1) ? 0 : 1);
            diagonal = row[i];
            row[i] = std::min({replaced, row[i] + 1, row[i - 1] + 1});
        }
    }
    return row.back();
}

QString parseAssignment(const SettingSchema &schema, const QString &subject, const QString &word, Wishes *wishes)
{
    const int equals = word.indexOf(QLatin1Char('='));
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
    int fewest = word.size() / 2 + 1;
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
