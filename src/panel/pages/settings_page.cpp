// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/pages/settings_page.h"

#include "kalvio_config.h"
#include "panel/model/ui_preferences.h"
#include "panel/pages/page_scroll.h"
#include "panel/text/web_links.h"
#include "panel/widgets/form_builder.h"
#include "panel/widgets/icons.h"
#include "panel/widgets/switch.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>

namespace kalvio {
namespace {

constexpr const char *section_style = "color:#6b7280; font-size:11px; background:transparent;";
constexpr const char *product_style = "color:#f3f4f6; font-size:15px; background:transparent;";
constexpr const char *title_style = "color:#9ca3af; font-size:12px; background:transparent;";
constexpr const char *separator_style = "color:#6b7280; background:transparent; padding:0 8px;";

struct Link {
	const char *key;
	void (*open)();
};

constexpr Link links[] = {{"nav.website", open_web_site}, {"nav.guide", open_install_guide}};

QLabel *add_centered_label(QVBoxLayout *layout, const char *style)
{
	auto *label = new QLabel(layout->parentWidget());
	label->setAlignment(Qt::AlignCenter);
	label->setWordWrap(true);
	label->setStyleSheet(QLatin1String(style));
	layout->addWidget(label);
	return label;
}

void add_links(FormBuilder &form, QVBoxLayout *layout)
{
	layout->addSpacing(6);
	auto *row = new QHBoxLayout;
	layout->addLayout(row);
	row->setSpacing(0);
	row->addStretch(1);
	for (const Link &link : links) {
		if (&link != links) {
			auto *separator = new QLabel(QStringLiteral("|"), row->parentWidget());
			separator->setStyleSheet(QLatin1String(separator_style));
			row->addWidget(separator);
		}
		auto *button = new QPushButton(row->parentWidget());
		button->setObjectName(QStringLiteral("link"));
		button->setCursor(Qt::PointingHandCursor);
		form.add_translation([button, key = link.key] { button->setText(translated(key)); });
		QObject::connect(button, &QPushButton::clicked, button, link.open);
		row->addWidget(button);
	}
	row->addStretch(1);
	layout->addSpacing(6);
}

} // namespace

SettingsPage::SettingsPage(FormBuilder &form, std::function<void()> go_back, QWidget *parent)
	: QWidget(parent), form_(form)
{
	auto *layout = new QVBoxLayout(this);
	layout->setContentsMargins(0, 0, 0, 0);
	layout->setSpacing(0);
	form_.addBackRow(layout, 8, std::move(go_back));
	add_choices(layout);

	layout->addWidget(make_divider(this));
	add_about(layout);
}

void SettingsPage::add_choices(QVBoxLayout *layout)
{
	PageScroll page = make_page_scroll(this);
	layout->addWidget(page.area, 1);

	open_on_startup_ = add_switch(page.layout, "settings.openOnStartup", &UiPreferences::open_on_startup);
	follow_sources_ = add_switch(page.layout, "settings.followSources", &UiPreferences::follow_sources);
	page.layout->addStretch(1);
}

Switch *SettingsPage::add_switch(QVBoxLayout *layout, const char *key, bool UiPreferences::*choice)
{
	QFrame *card = make_card_frame(layout->parentWidget());
	auto *row = new QHBoxLayout(card);
	row->setContentsMargins(16, 11, 16, 11);
	form_.addLabel(row, key);
	row->addStretch(1);
	auto *toggle = new Switch(card);
	toggle->setFixedSize(33, 18);
	toggle->setCursor(Qt::PointingHandCursor);
	toggle->on_toggled = [this, choice](bool checked) {
		if (form_.is_syncing())
			return;
		ui_preferences().*choice = checked;
		ui_preferences().dirty = true;
	};
	form_.add_translation([toggle, key] { toggle->setAccessibleName(translated(key)); });
	row->addWidget(toggle);
	layout->addWidget(card);
	return toggle;
}

void SettingsPage::add_about(QVBoxLayout *layout)
{
	auto *about = new QVBoxLayout;
	about->setContentsMargins(8, 10, 8, 2);
	about->setSpacing(6);
	layout->addLayout(about);

	QLabel *section = add_centered_label(about, section_style);
	auto *logo = new QLabel(this);
	logo->setAlignment(Qt::AlignCenter);
	logo->setPixmap(load_logo(26));
	about->addWidget(logo);
	add_centered_label(about, product_style)->setText(QStringLiteral("Kalvio"));
	QLabel *product_title = add_centered_label(about, title_style);
	form_.add_translation([section, product_title] {
		section->setText(translated("settings.about"));
		product_title->setText(translated("settings.productTitle"));
	});
	version_ = add_centered_label(about, title_style);
	add_links(form_, about);
}

void SettingsPage::refresh()
{
	open_on_startup_->show_checked(ui_preferences().open_on_startup);
	follow_sources_->show_checked(ui_preferences().follow_sources);
	version_->setText(translated("settings.version") + u' ' + QLatin1String(version));
}

} // namespace kalvio
