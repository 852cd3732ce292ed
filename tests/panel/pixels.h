// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QWidget>
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

// Looking at what a widget paints.
namespace kalvio::test {

// Over a known color, so that what is translucent can be computed.
inline constexpr QColor backdrop(10, 20, 30);

inline QImage paint(QWidget &widget, qreal scale = 1)
{
	QImage image(widget.size() * scale, QImage::Format_ARGB32_Premultiplied);
	image.setDevicePixelRatio(scale);
	image.fill(backdrop);
	widget.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
	return image;
}

// `color` with its alpha, and an opacity more, over the backdrop.
inline QColor over_backdrop(const QColor &color, qreal opacity = 1)
{
	const qreal alpha = color.alphaF() * opacity;
	const auto mix = [alpha](int top, int below) {
		return qRound(top * alpha + below * (1 - alpha));
	};
	return {mix(color.red(), backdrop.red()), mix(color.green(), backdrop.green()),
		mix(color.blue(), backdrop.blue())};
}

inline testing::AssertionResult is_color(const QImage &image, int x, int y, const QColor &expected, int tolerance = 2)
{
	const QColor actual = image.pixelColor(x, y);
	const int distance =
		std::max({std::abs(actual.red() - expected.red()), std::abs(actual.green() - expected.green()),
			  std::abs(actual.blue() - expected.blue())});
	if (distance <= tolerance)
		return testing::AssertionSuccess();
	return testing::AssertionFailure() << "(" << x << ", " << y << ") is " << actual.name().toStdString()
					   << ", not " << expected.name().toStdString();
}

// The largest difference of any channel of any pixel of two pictures of one size.
inline int largest_difference(const QImage &a, const QImage &b)
{
	int largest = 0;
	for (int y = 0; y < a.height(); ++y) {
		for (int x = 0; x < a.width(); ++x) {
			const QColor first = a.pixelColor(x, y);
			const QColor second = b.pixelColor(x, y);
			largest = std::max({largest, std::abs(first.red() - second.red()),
					    std::abs(first.green() - second.green()),
					    std::abs(first.blue() - second.blue())});
		}
	}
	return largest;
}

} // namespace kalvio::test
