// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <cstdint>
#include <string>

// The download server of this run, which the module asks, and the clock by which it asks. Main thread.
namespace kalvio::probe {

inline constexpr std::int64_t check_interval_s = 21'600;

// A file of the server's folder (KALVIO_PROBE_SERVER), "" while it does not exist.
QByteArray server_file(const QString &name);

void put_manifest_on_server(const QJsonObject &manifest);

// The wall clock of this process goes on from so many seconds later.
void put_clock_forward(std::int64_t seconds);

// What the module logs about a check that has this outcome.
std::string line_of_check(const char *latest, const char *force_below);

} // namespace kalvio::probe
