// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/update_strip.h"

#include "panel/model/panel_model.h"
#include "panel/widgets/elided_label.h"
#include "panel/widgets/form_builder.h"
#include "panel/widgets/icons.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>

namespace kalvio {
namespace {

// What differs between the two notices. The names select rules of the panel's style sheet.
struct Look {
	const char *frame;
	const char *text;
	const char *button;
	const char *title_key;
	const char *button_key;
	const char *line_style; // of the lines that have no rule of their own
	QMargins margins;
};

constexpr Look soft_look{"updateSoft",       "updateSoftText",  "updateSoftBtn",
			 "update.softTitle", "update.download", "color:#b7e0c4; font-size:11px;",
			 {10, 3, 5, 3}};
constexpr Look forced_look{"updateForce",       "updateForceText",      "updateForceBtn",
			   "update.forceTitle", "update.forceDownload", "color:#e8d5b0; font-size:11px;",
			   {10, 4, 5, 4}};

const Look &look_of(bool forced)
{
	return forced ? forced_look : soft_look;
}

// A style sheet looks at the name only while it polishes a widget.
void rename(QWidget &widget, const char *name)
{
	widget.setObjectName(QLatin1String(name));
	widget.style()->unpolish(&widget);
	widget.style()->polish(&widget);
}

// What the server wrote. A line has no room for more, and to measure a megabyte of it would hold the host up for
// seconds.
QString server_text(const std::string &text)
{
	constexpr qsizetype longest = 300;
	return QString::fromStdString(text).left(longest);
}

} // namespace

UpdateStrip::UpdateStrip(FormBuilder &form, std::function<void()> dismissed, QWidget *parent)
	: QWidget(parent), layout_(new QVBoxLayout(this)), title_(new ElidedLabel(this)), notes_(new ElidedLabel(this)),
	  download_(new QPushButton(this)), close_(makeIconButton(glyph::close, 14, 18, this)),
	  quit_hint_(new QLabel(this))
{
	setAttribute(Qt::WA_StyledBackground);
	hide();
	layout_->setSpacing(2);
	auto *row = new QHBoxLayout;
	row->setSpacing(6);
	layout_->addLayout(row);
	row->addWidget(title_);
	// The title takes what it needs, the notes take the rest.
	notes_->setMinimumWidth(48);
	notes_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
	row->addWidget(notes_, 1);
	row->addStretch();
	download_->setCursor(Qt::PointingHandCursor);
	row->addWidget(download_);
	row->addWidget(close_);
	quit_hint_->setWordWrap(true);
	layout_->addWidget(quit_hint_);

	connect(download_, &QPushButton::clicked, this, [] { open_update_download(); });
	connect(close_, &QPushButton::clicked, this, [dismissed = std::move(dismissed)] {
		dismiss_update();
		panel_model().update.soft = false;
		dismissed();
	});
	form.add_translation([this] {
		quit_hint_->setText(translated("update.quitHint"));
		download_->setText(translated(soft_look.button_key));
		close_->setToolTip(translated("update.dismiss"));
		close_->setAccessibleName(close_->toolTip());
	});
	restyle(false);
}

void UpdateStrip::restyle(bool forced)
{
	const Look &look = look_of(forced);
	if (objectName() == QLatin1String(look.frame))
		return;
	rename(*this, look.frame);
	rename(*notes_, look.text);
	rename(*download_, look.button);
	title_->setStyleSheet(QLatin1String(look.line_style));
	quit_hint_->setStyleSheet(QLatin1String(look.line_style));
	layout_->setContentsMargins(look.margins);
}

void UpdateStrip::refresh(const UpdateStatus &status)
{
	setVisible(status.forced || status.soft);
	if (!status.forced && !status.soft)
		return;
	restyle(status.forced);
	const Look &look = look_of(status.forced);

	QString title = translated(look.title_key);
	if (!status.latest.empty())
		title += u' ' + server_text(status.latest);
	title_->set_full_text(title);

	const QString notes = server_text(status.notes).trimmed();
	notes_->set_full_text(notes.section(u'\n', 0, 0));
	notes_->setToolTip(notes);
	notes_->setVisible(!notes.isEmpty());
	download_->setText(translated(look.button_key));
	close_->setVisible(!status.forced);
	quit_hint_->setVisible(status.forced);
}

} // namespace kalvio
