// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/preset_tile.h"

#include "panel/icons.h"
#include "panel/rows.h"
#include "params/effect_catalog.h"

#include <QLabel>
#include <QVBoxLayout>

namespace kalvio {
namespace {

constexpr QSize picture_size(96, 54);
constexpr const char *id_property = "bgid";

QPixmap preset_picture(const BackgroundPreset &preset)
{
	const std::string path = background_preset_path(preset.id);
	QPixmap picture = load_cover_picture(QString::fromStdString(path), picture_size);
	if (picture.isNull()) {
		picture = QPixmap(picture_size);
		picture.fill(QColor(0x20, 0x23, 0x2b));
	}
	return picture;
}

} // namespace

PresetTile::PresetTile(const QPixmap &picture, QWidget *parent) : SmoothButton(parent), caption_(new QLabel(this))
{
	draw_text = false;
	setCheckable(true);
	setCursor(Qt::PointingHandCursor);
	setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
	setIcon(QIcon(picture));
	setIconSize(picture_size);
	border_checked = Qt::white;
	border_width[1] = 2.0;

	auto *layout = new QVBoxLayout(this);
	layout->setContentsMargins(4, 8, 4, 6);
	layout->setSpacing(4);
	auto *picture_label = new QLabel(this);
	picture_label->setPixmap(picture);
	picture_label->setAlignment(Qt::AlignCenter);
	picture_label->setAttribute(Qt::WA_TransparentForMouseEvents);
	layout->addWidget(picture_label);
	caption_->setAlignment(Qt::AlignCenter);
	caption_->setAttribute(Qt::WA_TransparentForMouseEvents);
	layout->addWidget(caption_);
	color_caption();
	connect(this, &QAbstractButton::toggled, this, [this] { color_caption(); });
}

void PresetTile::set_caption(const QString &caption)
{
	setText(caption);
	setAccessibleName(caption);
	caption_->setText(caption);
}

QSize PresetTile::sizeHint() const
{
	return layout()->sizeHint();
}

QSize PresetTile::minimumSizeHint() const
{
	return {picture_size.width() + 8, sizeHint().height()};
}

void PresetTile::color_caption()
{
	const QColor &color = isChecked() ? text_checked : text_normal;
	caption_->setStyleSheet(QStringLiteral("color:%1; background:transparent; font-size:11px;").arg(color.name()));
}

PresetTile *make_preset_tile(Rows &rows, QWidget *parent, const BackgroundPreset &preset)
{
	auto *tile = new PresetTile(preset_picture(preset), parent);
	tile->setProperty(id_property, QString::fromLatin1(preset.id));
	rows.add_translation([tile, key = preset.label_key] { tile->set_caption(translated(key)); });
	return tile;
}

std::string preset_id(const QObject &tile)
{
	return tile.property(id_property).toString().toStdString();
}

} // namespace kalvio
