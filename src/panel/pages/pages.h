// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

class QVBoxLayout;

// The pages of effects. Each builder puts its card into the layout of an empty page and binds it to
// targeting().parameters.
namespace kalvio {

class Rows;

void build_skin_tab(Rows &rows, QVBoxLayout *page);
void build_reshape_tab(Rows &rows, QVBoxLayout *page);
void build_makeup_tab(Rows &rows, QVBoxLayout *page);
void build_filter_tab(Rows &rows, QVBoxLayout *page);
void build_sticker_tab(Rows &rows, QVBoxLayout *page);
void build_body_tab(Rows &rows, QVBoxLayout *page);
void build_background_tab(Rows &rows, QVBoxLayout *page);

} // namespace kalvio
