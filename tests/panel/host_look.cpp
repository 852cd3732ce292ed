// SPDX-License-Identifier: GPL-2.0-or-later
#include "host_look.h"

#include <QApplication>
#include <QColor>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPalette>
#include <cstdio>
#include <cstdlib>

namespace kalvio::test {
namespace {

QByteArray read_file(const QString &path)
{
	QFile file(path);
	const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
	if (bytes.isEmpty()) {
		std::fprintf(stderr, "There is no look in %s.\n", qPrintable(path));
		std::exit(2);
	}
	return bytes;
}

} // namespace

bool has_host_look()
{
	return qEnvironmentVariableIsSet("KALVIO_HOST_LOOK");
}

void use_host_look()
{
	if (!has_host_look())
		return;
	const QString path = qEnvironmentVariable("KALVIO_HOST_LOOK");
	QDir::addSearchPath(QStringLiteral("theme"), qEnvironmentVariable("KALVIO_HOST_THEMES"));
	const QJsonObject colors = QJsonDocument::fromJson(read_file(path + QStringLiteral(".json"))).object();
	QPalette palette;
	for (auto entry = colors.begin(); entry != colors.end(); ++entry) {
		const QStringList place = entry.key().split(u'/');
		// The host's Qt may know more roles than this one.
		if (place.at(1).toInt() < QPalette::NColorRoles)
			palette.setColor(QPalette::ColorGroup(place.at(0).toInt()),
					 QPalette::ColorRole(place.at(1).toInt()), QColor(entry.value().toString()));
	}
	QApplication::setPalette(palette);
	qApp->setStyleSheet(QString::fromUtf8(read_file(path + QStringLiteral(".qss"))));
}

} // namespace kalvio::test
