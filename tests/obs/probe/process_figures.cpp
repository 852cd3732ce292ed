// SPDX-License-Identifier: GPL-2.0-or-later
#include "process_figures.h"

#include <QDir>
#include <QFile>
#include <malloc.h>
#include <obs.h>
#include <util/bmem.h>

namespace kalvio::probe {

namespace {

int entries_of(const QString &folder)
{
	return static_cast<int>(QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size());
}

double resident_mib()
{
	QFile status("/proc/self/status");
	if (!status.open(QIODevice::ReadOnly))
		return 0;
	for (const QByteArray &line : status.readAll().split('\n')) {
		if (line.startsWith("RssAnon:"))
			return line.mid(8).trimmed().split(' ').first().toDouble() / 1024.0;
	}
	return 0;
}

// Of all arenas, and of what was mapped for one allocation.
double heap_mib()
{
	const struct mallinfo2 heap = mallinfo2();
	return static_cast<double>(heap.uordblks + heap.hblkhd) / (1024.0 * 1024.0);
}

} // namespace

void give_back_free_memory()
{
	malloc_trim(0);
}

ProcessFigures process_figures()
{
	return {resident_mib(),
		heap_mib(),
		entries_of("/proc/self/fd"),
		entries_of("/proc/self/task"),
		static_cast<int>(bnum_allocs()),
		static_cast<double>(obs_get_average_frame_time_ns()) / 1e6,
		obs_get_total_frames(),
		obs_get_lagged_frames()};
}

QJsonObject as_json(const ProcessFigures &figures)
{
	return {{"memory_mib", figures.resident_mib},
		{"heap_mib", figures.heap_mib},
		{"handles", figures.handles},
		{"threads", figures.threads},
		{"host_allocations", figures.host_allocations},
		{"frame_ms", figures.frame_ms},
		{"drawn", static_cast<qint64>(figures.drawn)},
		{"missed", static_cast<qint64>(figures.missed)}};
}

} // namespace kalvio::probe
