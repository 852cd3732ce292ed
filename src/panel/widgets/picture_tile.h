// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "panel/widgets/smooth_button.h"

#include <QSize>
#include <string>

// Tiles that show what they stand for. User-interface thread.
namespace kalvio {

class ElidedLabel;
class FormBuilder;
struct BackgroundPreset;

// An effect to choose: its picture over its name.
class PictureTile : public SmoothButton {
	Q_OBJECT

public:
	// `picture` is of `size` logical pixels; a null one is shown as a plain area.
	PictureTile(const QPixmap &picture, const QSize &size, QWidget *parent = nullptr);

	void set_caption(const QString &caption);

	QSize sizeHint() const override;
	QSize minimumSizeHint() const override;

private:
	void color_caption();

	QSize picture_size_;
	ElidedLabel *caption_;
};

// A tile for this preset with its picture, or a plain one when that cannot be loaded.
PictureTile *make_preset_tile(FormBuilder &form, QWidget *parent, const BackgroundPreset &preset);

// A tile's text, with a picture or without, and its name for screen readers.
void set_tile_caption(SmoothButton &tile, const QString &caption);

// The preset that a tile stands for.
std::string preset_id(const QObject &tile);

// The path of what an effect does to a face: a file in the folder "previews" of the module's data, such as
// "filters/rose.jpg". Empty when there is none, as with an engine that is not built here.
std::string preview_path(const std::string &file);

// A tile for an effect that changes a face, with that picture.
PictureTile *make_preview_tile(const std::string &picture, QWidget *parent);

} // namespace kalvio
