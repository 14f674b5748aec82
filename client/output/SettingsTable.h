// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include "client/settings/Setting.h"

/// The settings for people: a line for each, with its key and its value with units.
QString settingsTable(const SettingSchema &schema, const Settings &settings);

/// What the settings are, for people who ask for help: a paragraph for each, with its key and its explanation.
QString settingsHelp(const SettingSchema &schema);
