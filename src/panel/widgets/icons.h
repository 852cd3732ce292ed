// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QPushButton>
#include <QString>

// Glyphs of the icon font and the pictures of the panel, all from the module's data folder. A missing file is no error:
// glyphs then show in the default font and pictures are empty. Sizes are logical pixels; pictures are drawn for the
// sharpest screen there is.
namespace kalvio {

// Code points of the icon font, UTF-8.
namespace glyph {
inline constexpr const char *skin = "\uEB4C";
inline constexpr const char *reshape = "\uE87C";
inline constexpr const char *makeup = "\uE3AE";
inline constexpr const char *filter = "\uE40A";
inline constexpr const char *sticker = "\uE65F";
inline constexpr const char *body = "\uE84E";
inline constexpr const char *background = "\uE3A5";
inline constexpr const char *reset = "\uE5D5";
inline constexpr const char *settings = "\uE8B8";
inline constexpr const char *close = "\uE5CD";
inline constexpr const char *back = "\uE5C4";
inline constexpr const char *search = "\uE8B6";
} // namespace glyph

// Family name of the icon font, which the first call loads; empty when it cannot be loaded.
const QString &icon_font_family();

// Style-sheet declarations that show a label's text as glyphs of this size.
QString glyph_label_style(const QColor &color, int pixel_size);

QIcon makeGlyphIcon(const char *glyph, int pixel_size, const QColor &color);

// A button of the header; the style sheet of the panel gives its look.
QPushButton *makeHeadIcon(const char *glyph, const QString &tool_tip, bool checkable, QWidget *parent = nullptr);

// A bare square button of `side` pixels whose glyph is a label inside it.
QPushButton *makeIconButton(const char *glyph, int glyph_pixel_size, int side, QWidget *parent = nullptr);

// The picture at `path` scaled so that it covers `size`, its middle cut out. Null when there is none.
QPixmap load_cover_picture(const QString &path, const QSize &size);

// The module's logo at this height; null when it is missing.
QPixmap load_logo(int height);

} // namespace kalvio
