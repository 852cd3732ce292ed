// SPDX-License-Identifier: GPL-2.0-or-later
#include "report.h"

#include <QFile>
#include <QJsonDocument>

namespace kalvio::probe {

namespace {

int stated;
int failed;

} // namespace

QString output_file(const QString &name)
{
	return setting("KALVIO_PROBE_OUT") + QLatin1Char('/') + name;
}

QString setting(const char *name)
{
	return qEnvironmentVariable(name);
}

void report(const QJsonObject &line)
{
	// Opened for each line: nothing is lost when the process dies at the next step.
	QFile file(output_file(QStringLiteral("report.jsonl")));
	if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
		qFatal("probe: cannot write its report");
	file.write(QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n');
}

bool check(bool ok, const QString &fact, const QString &detail)
{
	++stated;
	if (!ok)
		++failed;
	report({{"fact", fact}, {"ok", ok}, {"seen", detail}});
	return ok;
}

int failed_checks()
{
	return failed;
}

int stated_checks()
{
	return stated;
}

} // namespace kalvio::probe
