// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "panel/controls/smooth_button.h"

#include <string>

class QLabel;

namespace kalvio {

class Rows;
struct BackgroundPreset;

// A background to choose: its picture over its name.
class PresetTile : public SmoothButton {
	Q_OBJECT

public:
	// `picture` is 96 x 54 logical pixels.
	explicit PresetTile(const QPixmap &picture, QWidget *parent = nullptr);

	void set_caption(const QString &caption);

	QSize sizeHint() const override;
	QSize minimumSizeHint() const override;

private:
	void color_caption();

	QLabel *caption_;
};

// A tile for this preset with its picture, or a plain one when that cannot be loaded.
PresetTile *make_preset_tile(Rows &rows, QWidget *parent, const BackgroundPreset &preset);

// The preset that a tile stands for.
std::string preset_id(const QObject &tile);

} // namespace kalvio
