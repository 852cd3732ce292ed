// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/tab_bar.h"

#include "panel/widgets/accessible_controls.h"
#include "panel/widgets/form_builder.h"
#include "panel/widgets/icons.h"
#include "panel/widgets/palette.h"
#include "panel/widgets/smooth_button.h"
#include "panel/widgets/tab_dot.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QLabel>

namespace kalvio {
namespace {

struct TabEntry {
	const char *caption_key;
	const char *glyph;
};

// The order of the pages.
constexpr TabEntry tab_entries[] = {
	{"tab.skin", glyph::skin},
	{"tab.reshape", glyph::reshape},
	{"tab.makeup", glyph::makeup},
	{"tab.filter", glyph::filter},
	{"tab.sticker", glyph::sticker},
	{"tab.body", glyph::body},
	{"tab.background", glyph::background},
};

constexpr int glyph_pixel_size = 16;
constexpr int side_margin = 2;
constexpr QColor current_color = palette::text_on_white;
constexpr QColor other_color = palette::muted_text;

QString caption_style(const QColor &color)
{
	return QStringLiteral("color:%1; background:transparent; font-size:11px;").arg(color.name());
}

QLabel *add_tab_label(QBoxLayout *layout, const QString &style)
{
	auto *label = new QLabel(layout->parentWidget());
	label->setAlignment(Qt::AlignCenter);
	label->setAttribute(Qt::WA_TransparentForMouseEvents);
	label->setStyleSheet(style);
	layout->addWidget(label);
	return label;
}

} // namespace

TabBar::TabBar(FormBuilder &form, std::function<void(int)> chosen, QWidget *parent) : QWidget(parent)
{
	setObjectName(QStringLiteral("tabBar"));
	setAttribute(Qt::WA_StyledBackground);
	setFixedHeight(72);
	auto *layout = new QHBoxLayout(this);
	layout->setContentsMargins(8, 0, 8, 0);
	layout->setSpacing(2);
	auto *group = new QButtonGroup(this);
	group->setExclusive(true);

	for (const TabEntry &entry : tab_entries) {
		auto *button = new SmoothButton(this);
		button->draw_text = false;
		button->border_width[0] = 0;
		button->bg_normal = Qt::transparent;
		button->setCheckable(true);
		button->setCursor(Qt::PointingHandCursor);
		button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
		button->setFixedHeight(48);
		mark_as_tab(*button);
		group->addButton(button, count());
		layout->addWidget(button, 1, Qt::AlignVCenter);

		auto *tab_layout = new QVBoxLayout(button);
		tab_layout->setContentsMargins(side_margin, 4, side_margin, 4);
		tab_layout->setSpacing(2);
		QLabel *glyph_label = add_tab_label(tab_layout, glyph_label_style(other_color, glyph_pixel_size));
		glyph_label->setMinimumHeight(18);
		glyph_label->setText(QString::fromUtf8(entry.glyph));
		QLabel *caption = add_tab_label(tab_layout, caption_style(other_color));
		auto *dot = new TabDot(button);
		tabs_.push_back({button, glyph_label, caption, dot});

		form.add_translation([button, caption, dot, key = entry.caption_key] {
			caption->setText(translated(key));
			button->setAccessibleName(caption->text());
			dot->describe();
		});
	}
	form.add_translation([this] { fit_captions(); });
	connect(group, &QButtonGroup::idClicked, this, std::move(chosen));
}

void TabBar::fit_captions()
{
	for (const Tab &tab : tabs_) {
		tab.caption->ensurePolished();
		tab.button->setMinimumWidth(tab.caption->sizeHint().width() + 2 * side_margin);
	}
}

void TabBar::show_current(int index)
{
	if (index < 0 || index >= count())
		return;
	for (int i = 0; i < count(); ++i) {
		const Tab &tab = tabs_[static_cast<size_t>(i)];
		const QColor &color = i == index ? current_color : other_color;
		tab.button->setChecked(i == index);
		tab.button->bg_normal = Qt::transparent;
		tab.button->bg_hover = palette::translucent_white(18);
		tab.button->bg_checked = palette::white;
		tab.button->update();
		tab.dot->show_on_current(i == index);
		tab.glyph->setStyleSheet(glyph_label_style(color, glyph_pixel_size));
		tab.caption->setStyleSheet(caption_style(color));
	}
}

QString TabBar::caption(int index) const
{
	return tabs_.at(static_cast<size_t>(index)).caption->text();
}

void TabBar::set_tabs_enabled(bool enabled)
{
	for (const Tab &tab : tabs_)
		tab.button->setEnabled(enabled);
}

void TabBar::mark_changed(int index, bool is_changed)
{
	TabDot *dot = tabs_[static_cast<size_t>(index)].dot;
	if (dot->isHidden() == !is_changed)
		return;
	dot->setVisible(is_changed);
	dot->describe();
}

} // namespace kalvio
