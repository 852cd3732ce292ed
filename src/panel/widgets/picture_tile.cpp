// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/picture_tile.h"

#include "host/module_files.h"
#include "panel/widgets/elided_label.h"
#include "panel/widgets/form_builder.h"
#include "panel/widgets/icons.h"
#include "panel/widgets/palette.h"
#include "params/effect_catalog.h"

#include <QLabel>
#include <QVBoxLayout>

namespace kalvio {
namespace {

constexpr QSize preset_size(96, 54);
// Three to a row in the narrowest panel.
constexpr QSize preview_size(72, 54);
constexpr int margin = 4;
constexpr const char *id_property = "bgid";

QPixmap shown_picture(const QPixmap &picture, const QSize &size)
{
	if (!picture.isNull())
		return picture;
	QPixmap plain(size);
	plain.fill(palette::surface);
	return plain;
}

} // namespace

PictureTile::PictureTile(const QPixmap &picture, const QSize &size, QWidget *parent)
	: SmoothButton(parent), picture_size_(size), caption_(new ElidedLabel(this))
{
	const QPixmap shown = shown_picture(picture, size);
	draw_text = false;
	setCheckable(true);
	setCursor(Qt::PointingHandCursor);
	setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
	setIcon(QIcon(shown));
	setIconSize(size);
	border_checked = palette::white;
	border_width[1] = 2.0;

	auto *layout = new QVBoxLayout(this);
	layout->setContentsMargins(margin, 8, margin, 6);
	layout->setSpacing(4);
	auto *picture_label = new QLabel(this);
	picture_label->setPixmap(shown);
	picture_label->setAlignment(Qt::AlignCenter);
	picture_label->setAttribute(Qt::WA_TransparentForMouseEvents);
	layout->addWidget(picture_label);
	caption_->setAlignment(Qt::AlignCenter);
	caption_->setAttribute(Qt::WA_TransparentForMouseEvents);
	layout->addWidget(caption_);
	color_caption();
	connect(this, &QAbstractButton::toggled, this, [this] { color_caption(); });
}

void PictureTile::set_caption(const QString &caption)
{
	setText(caption);
	setAccessibleName(caption);
	caption_->set_full_text(caption);
}

QSize PictureTile::sizeHint() const
{
	return layout()->sizeHint();
}

QSize PictureTile::minimumSizeHint() const
{
	return {picture_size_.width() + 2 * margin, sizeHint().height()};
}

void PictureTile::color_caption()
{
	const QColor &color = isChecked() ? text_checked : text_normal;
	caption_->setStyleSheet(QStringLiteral("color:%1; background:transparent; font-size:11px;").arg(color.name()));
}

PictureTile *make_preset_tile(FormBuilder &form, QWidget *parent, const BackgroundPreset &preset)
{
	const QString path = QString::fromStdString(background_preset_path(preset.id));
	auto *tile = new PictureTile(load_cover_picture(path, preset_size), preset_size, parent);
	tile->setProperty(id_property, QString::fromLatin1(preset.id));
	form.add_translation([tile, key = preset.label_key] { tile->set_caption(translated(key)); });
	return tile;
}

void set_tile_caption(SmoothButton &tile, const QString &caption)
{
	if (auto *with_picture = qobject_cast<PictureTile *>(&tile)) {
		with_picture->set_caption(caption);
		return;
	}
	tile.setText(caption);
	tile.setAccessibleName(caption);
}

std::string preset_id(const QObject &tile)
{
	return tile.property(id_property).toString().toStdString();
}

std::string preview_path(const std::string &file)
{
	return resolve_module_file(("previews/" + file).c_str());
}

PictureTile *make_preview_tile(const std::string &picture, QWidget *parent)
{
	return new PictureTile(load_cover_picture(QString::fromStdString(picture), preview_size), preview_size, parent);
}

} // namespace kalvio
