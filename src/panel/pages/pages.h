// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

class QVBoxLayout;

// The pages of effects. Each builder puts its card into the layout of an empty page and binds it to
// panel_model().parameters.
namespace kalvio {

class FormBuilder;

void build_skin_tab(FormBuilder &form, QVBoxLayout *page);
void build_reshape_tab(FormBuilder &form, QVBoxLayout *page);
void build_makeup_tab(FormBuilder &form, QVBoxLayout *page);
void build_filter_tab(FormBuilder &form, QVBoxLayout *page);
void build_sticker_tab(FormBuilder &form, QVBoxLayout *page);
void build_body_tab(FormBuilder &form, QVBoxLayout *page);
void build_background_tab(FormBuilder &form, QVBoxLayout *page);

} // namespace kalvio
