// SPDX-License-Identifier: GPL-2.0-or-later
#include "update_server.h"

#include "process_clock.h"
#include "report.h"

#include <QFile>
#include <QJsonDocument>
#include <QSaveFile>
#include <dlfcn.h>

namespace kalvio::probe {

QByteArray server_file(const QString &name)
{
	QFile file(setting("KALVIO_PROBE_SERVER") + '/' + name);
	return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void put_manifest_on_server(const QJsonObject &manifest)
{
	QSaveFile file(setting("KALVIO_PROBE_SERVER") + "/latest.json");
	const bool written =
		file.open(QIODevice::WriteOnly) && file.write(QJsonDocument(manifest).toJson()) > 0 && file.commit();
	check(written, "the server has another manifest");
}

void put_clock_forward(std::int64_t seconds)
{
	static auto *const put = reinterpret_cast<decltype(&kalvio_probe_put_clock_forward)>(
		dlsym(RTLD_DEFAULT, "kalvio_probe_put_clock_forward"));
	if (check(put, "the clock can be put forward"))
		put(seconds);
}

std::string line_of_check(const char *latest, const char *force_below)
{
	return std::string("[Kalvio] update check latest=") + latest + " force_below=" + force_below;
}

} // namespace kalvio::probe
