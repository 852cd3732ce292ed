// SPDX-License-Identifier: GPL-2.0-or-later
#include "test_clip.h"

#include <QFile>
#include <algorithm>
#include <cmath>

namespace kalvio::probe {

namespace {

char clamp_byte(double value)
{
	return static_cast<char>(static_cast<unsigned char>(std::clamp(std::lround(value), 0L, 255L)));
}

// BT.601, limited range: what players assume of a small picture.
char luma(QRgb pixel)
{
	return clamp_byte(16 + 0.257 * qRed(pixel) + 0.504 * qGreen(pixel) + 0.098 * qBlue(pixel));
}

char blue_difference(QRgb pixel)
{
	return clamp_byte(128 - 0.148 * qRed(pixel) - 0.291 * qGreen(pixel) + 0.439 * qBlue(pixel));
}

char red_difference(QRgb pixel)
{
	return clamp_byte(128 + 0.439 * qRed(pixel) - 0.368 * qGreen(pixel) - 0.071 * qBlue(pixel));
}

QByteArray plane(const QImage &picture, char (*value)(QRgb), int step)
{
	QByteArray bytes;
	for (int y = 0; y < picture.height(); y += step)
		for (int x = 0; x < picture.width(); x += step)
			bytes.append(value(picture.pixel(x, y)));
	return bytes;
}

} // namespace

bool write_test_clip(const QString &file, const QImage &picture, int frames)
{
	QFile out(file);
	if (picture.isNull() || !out.open(QIODevice::WriteOnly))
		return false;
	const QByteArray frame = "FRAME\n" + plane(picture, luma, 1) + plane(picture, blue_difference, 2) +
				 plane(picture, red_difference, 2);
	out.write(QString("YUV4MPEG2 W%1 H%2 F30:1 Ip A1:1 C420\n")
			  .arg(picture.width())
			  .arg(picture.height())
			  .toLatin1());
	for (int i = 0; i < frames; ++i)
		out.write(frame);
	return out.flush() && out.error() == QFile::NoError;
}

} // namespace kalvio::probe
