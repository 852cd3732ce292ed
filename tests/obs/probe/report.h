// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QJsonObject>
#include <QString>

// The outcome of one run, as JSON lines in the file "report.jsonl" of the output folder. Main thread only.
namespace kalvio::probe {

// A file of this run's output folder (the environment's KALVIO_PROBE_OUT).
QString output_file(const QString &name);

// The value of an environment variable, or "" when it is not set.
QString setting(const char *name);

// Writes one line as it stands.
void report(const QJsonObject &line);

// States a fact that must hold; `detail` is what was seen. Returns `ok`.
bool check(bool ok, const QString &fact, const QString &detail = {});

// How many facts did not hold so far, and how many were stated.
int failed_checks();
int stated_checks();

} // namespace kalvio::probe
