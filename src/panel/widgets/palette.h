// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QColor>

// The colors of the panel. Style sheets write the same values as "#rrggbb"; a test keeps them to this list. The
// contrasts that the tests demand (4.5 : 1 for text, 3 : 1 for parts of controls) hold between the colors as they are
// used.
namespace kalvio::palette {

// A color from 0xRRGGBB.
constexpr QColor rgb(unsigned hex)
{
	return {static_cast<int>(hex >> 16 & 0xff), static_cast<int>(hex >> 8 & 0xff), static_cast<int>(hex & 0xff)};
}

constexpr QColor translucent_white(int alpha)
{
	return {255, 255, 255, alpha};
}

constexpr QColor translucent_black(int alpha)
{
	return {0, 0, 0, alpha};
}

// Surfaces, from the back to the front.
inline constexpr QColor background = rgb(0x0b0c10);
inline constexpr QColor groove = rgb(0x0f1116); // of sliders; also the inside of text fields
inline constexpr QColor bar = rgb(0x14161c);
inline constexpr QColor card = rgb(0x181a20);
inline constexpr QColor scroll_handle = rgb(0x1f2229);
inline constexpr QColor surface = rgb(0x20232b); // of buttons, boxes and lists
inline constexpr QColor surface_hover = rgb(0x2a3040);
inline constexpr QColor quiet_hover = rgb(0x2a2e38);

// Lines.
inline constexpr QColor divider = rgb(0x262a35);
inline constexpr QColor border = rgb(0x2e3340);
inline constexpr QColor border_checked = rgb(0x4b5568);
inline constexpr QColor outline = rgb(0x6b7280); // also the faintest text

// Text and glyphs.
inline constexpr QColor white = rgb(0xffffff);
inline constexpr QColor text = rgb(0xf3f4f6);
inline constexpr QColor control_text = rgb(0xe5e7eb);
inline constexpr QColor muted_text = rgb(0x9ca3af);
inline constexpr QColor text_on_white = rgb(0x0a0a0a);

// Accents.
inline constexpr QColor accent = rgb(0x60a5fa); // filled part of a slider, focus ring
inline constexpr QColor accent_dark = rgb(0x2563eb);
inline constexpr QColor switch_on = rgb(0x34c759);
inline constexpr QColor switch_off = rgb(0x3a3a3c);
inline constexpr QColor held = rgb(0xfbbf24); // what is on only while it is held, and what warns

// The strip of a voluntary update, then those of a forced one and of hints.
inline constexpr QColor good_fill = rgb(0x14241a);
inline constexpr QColor good_button = rgb(0x1a3324);
inline constexpr QColor good_hover = rgb(0x234532);
inline constexpr QColor good_border = rgb(0x2f6b45);
inline constexpr QColor good_text = rgb(0xb7e0c4);
inline constexpr QColor alert_fill = rgb(0x201b12);
inline constexpr QColor alert_button = rgb(0x2a2418);
inline constexpr QColor alert_hover = rgb(0x3a3224);
inline constexpr QColor alert_border = rgb(0x6b5a3a);
inline constexpr QColor alert_text = rgb(0xe8d5b0);

} // namespace kalvio::palette
