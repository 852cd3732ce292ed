// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/icons.h"

#include "host/module_files.h"
#include "panel/widgets/palette.h"

#include <QFont>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QPainter>
#include <algorithm>

namespace kalvio {
namespace {

QString load_icon_font()
{
	const std::string path = resolve_module_file("MaterialIcons-Regular.ttf");
	if (path.empty())
		return {};
	const int font = QFontDatabase::addApplicationFont(QString::fromStdString(path));
	return font < 0 ? QString() : QFontDatabase::applicationFontFamilies(font).value(0);
}

QFont icon_font(int pixel_size)
{
	QFont font;
	if (!icon_font_family().isEmpty())
		font.setFamily(icon_font_family());
	font.setPixelSize(pixel_size);
	return font;
}

// Of the sharpest screen, so that nothing blurs on whichever the panel is.
qreal pixel_ratio()
{
	return qApp->devicePixelRatio();
}

QPixmap transparent_pixmap(const QSize &size)
{
	QPixmap pixmap(size * pixel_ratio());
	pixmap.setDevicePixelRatio(pixel_ratio());
	pixmap.fill(Qt::transparent);
	return pixmap;
}

// `enough` is a size in pixels that the caller scales down to later: decoders that can then skip the rest. An empty
// size asks for the whole picture.
QImage load_image(const QString &path, const QSize &enough = {})
{
	if (path.isEmpty())
		return {};
	QImageReader reader(path);
	// A data file is taken for what it holds, not for what its name says.
	reader.setDecideFormatFromContent(true);
	const QSize size = reader.size();
	if (size.isValid() && enough.width() < size.width() && enough.height() < size.height() && !enough.isEmpty())
		reader.setScaledSize(size.scaled(enough, Qt::KeepAspectRatioByExpanding));
	return reader.read();
}

} // namespace

const QString &icon_font_family()
{
	static const QString family = load_icon_font();
	return family;
}

QString glyph_label_style(const QColor &color, int pixel_size)
{
	return QStringLiteral("color:%1; background:transparent; font-size:%2px;").arg(color.name()).arg(pixel_size) +
	       QStringLiteral(" font-family:\"%1\";").arg(icon_font_family());
}

QIcon makeGlyphIcon(const char *glyph, int pixel_size, const QColor &color)
{
	const QFont font = icon_font(pixel_size);
	const int side = std::max(pixel_size + 2, QFontMetrics(font).height());
	QPixmap pixmap = transparent_pixmap({side, side});
	QPainter painter(&pixmap);
	painter.setRenderHint(QPainter::TextAntialiasing);
	painter.setFont(font);
	painter.setPen(color);
	painter.drawText(QRect(0, 0, side, side), Qt::AlignCenter, QString::fromUtf8(glyph));
	return {pixmap};
}

QPushButton *makeHeadIcon(const char *glyph, const QString &tool_tip, bool checkable, QWidget *parent)
{
	auto *button = new QPushButton(parent);
	button->setObjectName(QStringLiteral("headIcon"));
	button->setCursor(Qt::PointingHandCursor);
	button->setCheckable(checkable);
	button->setToolTip(tool_tip);
	button->setIcon(makeGlyphIcon(glyph, 16, palette::control_text));
	button->setIconSize({16, 16});
	button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
	return button;
}

QPushButton *makeIconButton(const char *glyph, int glyph_pixel_size, int side, QWidget *parent)
{
	auto *button = new QPushButton(parent);
	button->setFixedSize(side, side);
	button->setCursor(Qt::PointingHandCursor);
	button->setStyleSheet(QStringLiteral("QPushButton { background:transparent; border:none; border-radius:8px; }"
					     "QPushButton:hover { background:#20232b; }"));
	auto *layout = new QHBoxLayout(button);
	layout->setContentsMargins(0, 0, 0, 0);
	auto *label = new QLabel(QString::fromUtf8(glyph), button);
	label->setAttribute(Qt::WA_TransparentForMouseEvents);
	label->setAlignment(Qt::AlignCenter);
	label->setStyleSheet(glyph_label_style(palette::muted_text, glyph_pixel_size));
	layout->addWidget(label);
	return button;
}

QPixmap load_cover_picture(const QString &path, const QSize &size)
{
	const QSize pixels = (QSizeF(size) * pixel_ratio()).toSize();
	const QImage image = load_image(path, pixels * 2);
	if (image.isNull())
		return {};
	const QImage scaled = image.scaled(pixels, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
	const QPoint corner((scaled.width() - pixels.width()) / 2, (scaled.height() - pixels.height()) / 2);
	QPixmap pixmap = QPixmap::fromImage(scaled.copy(QRect(corner, pixels)));
	pixmap.setDevicePixelRatio(pixel_ratio());
	return pixmap;
}

QPixmap load_logo(int height)
{
	const QImage image = load_image(QString::fromStdString(resolve_module_file("logo-dark.png")));
	if (image.isNull())
		return {};
	const int pixels = qRound(height * pixel_ratio());
	QPixmap pixmap = QPixmap::fromImage(image.scaledToHeight(pixels, Qt::SmoothTransformation));
	pixmap.setDevicePixelRatio(pixel_ratio());
	return pixmap;
}

} // namespace kalvio
