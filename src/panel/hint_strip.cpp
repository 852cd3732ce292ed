// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/hint_strip.h"

#include "panel/text/translations.h"
#include "panel/text/web_links.h"
#include "panel/widgets/form_builder.h"
#include "update/update_check.h"

#include <QLabel>
#include <QVBoxLayout>
#include <utility>

namespace kalvio {
namespace {

QString escaped(const char *key)
{
	return translated(key).toHtmlEscaped();
}

QString no_filter_text()
{
	return escaped("obs.noFilterHow") +
	       QStringLiteral(" <a href=\"guide\" style=\"color:#e5e7eb; text-decoration:none;\">") +
	       escaped("nav.guide") + QStringLiteral("</a>");
}

QString paused_text()
{
	// One arg() for all: a "%2" inside a text stays as it is.
	return QStringLiteral("<b style=\"color:#e8d5b0;\">%1</b><br/>%2<br/>%3<br/>"
			      "<a href=\"update\" style=\"color:#e5e7eb; text-decoration:none;\">%4</a>")
		.arg(escaped("update.forceTitle"), escaped("update.forceBody"), escaped("update.quitHint"),
		     escaped("update.forceDownload"));
}

void open_link(const QString &link)
{
	if (link == QLatin1String("update"))
		open_update_download();
	else
		open_install_guide();
}

} // namespace

HintStrip::HintStrip(QWidget *parent) : QFrame(parent), text_(new QLabel(this))
{
	setObjectName(QStringLiteral("banner"));
	setAttribute(Qt::WA_StyledBackground);
	setFrameShape(QFrame::NoFrame);
	hide();
	auto *layout = new QVBoxLayout(this);
	layout->setContentsMargins(12, 4, 12, 4);
	text_->setTextFormat(Qt::RichText);
	text_->setWordWrap(true);
	text_->setTextInteractionFlags(Qt::TextBrowserInteraction);
	text_->setOpenExternalLinks(false);
	layout->addWidget(text_);
	connect(text_, &QLabel::linkActivated, this, open_link);
}

void HintStrip::refresh(bool controls_usable, bool paused)
{
	setVisible(!controls_usable);
	const char *first_text = translate(paused ? "update.forceTitle" : "obs.noFilterHow");
	if (std::exchange(shown_, first_text) == first_text)
		return;
	text_->setText(paused ? paused_text() : no_filter_text());
}

} // namespace kalvio
