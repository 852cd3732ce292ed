// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/form_builder.h"

#include "panel/model/panel_model.h"
#include "panel/text/translations.h"
#include "panel/widgets/caption_label.h"
#include "panel/widgets/elided_label.h"
#include "panel/widgets/icons.h"
#include "panel/widgets/palette.h"
#include "panel/widgets/smooth_button.h"
#include "panel/widgets/switch.h"

#include <QApplication>
#include <QButtonGroup>
#include <QEvent>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QSlider>
#include <QStyle>
#include <algorithm>
#include <cmath>
#include <utility>

namespace kalvio {
namespace {

// Inside a QFrame#card of its own sheet the rows' buttons need theirs: they take room from it, their looks they paint.
constexpr const char *option_button_style =
	"QPushButton { border:1px solid transparent; background:transparent; padding:2px 4px; min-height:22px; }";

void show_as_swatch(SmoothButton &button, const Swatch &swatch)
{
	button.gradient_fill = true;
	button.gradient_start = swatch.start;
	button.gradient_end = swatch.end;
	button.text_normal = button.text_hover = palette::translucent_white(230);
	button.text_checked = palette::white;
	button.border_normal = palette::translucent_white(40);
	button.border_hover = palette::translucent_white(110);
	button.border_checked = palette::white;
	button.border_width[1] = 2.0;
}

// A slider that goes out of sight with its page or its dock while the user holds it never learns that it was let go.
class ReleaseWhenHidden : public QObject {
protected:
	bool eventFilter(QObject *watched, QEvent *event) override
	{
		auto *slider = qobject_cast<QSlider *>(watched);
		if (slider && event->type() == QEvent::Hide)
			slider->setSliderDown(false);
		return false;
	}
};

} // namespace

QFrame *make_card_frame(QWidget *parent)
{
	auto *frame = new QFrame(parent);
	frame->setObjectName(QStringLiteral("card"));
	frame->setStyleSheet(
		QStringLiteral("QFrame#card { background:#181a20; border:1px solid #262a35; border-radius:12px; }"));
	return frame;
}

QWidget *make_divider(QWidget *parent)
{
	auto *divider = new QWidget(parent);
	divider->setFixedHeight(1);
	divider->setAttribute(Qt::WA_StyledBackground);
	divider->setStyleSheet(QStringLiteral("background:#262a35;"));
	return divider;
}

int slider_position(float value)
{
	return static_cast<int>(std::lroundf(std::clamp(value, -1.0f, 1.0f) * 100.0f));
}

void show_or_hide(QWidget &child, bool is_shown)
{
	const bool was_hidden = child.testAttribute(Qt::WA_WState_ExplicitShowHide) && child.isHidden();
	if (was_hidden == is_shown)
		child.setVisible(is_shown);
}

void check_only(QButtonGroup &group, int id)
{
	if (group.checkedId() == id)
		return;
	if (QAbstractButton *button = group.button(id)) {
		button->setChecked(true);
	} else if (QAbstractButton *checked = group.checkedButton()) {
		group.setExclusive(false);
		checked->setChecked(false);
		group.setExclusive(true);
	}
}

QString under_heading(const char *section_key, const QString &name)
{
	return section_key ? translated(section_key) + QStringLiteral(", ") + name : name;
}

QString translated(const char *key)
{
	return QString::fromUtf8(translate(key));
}

QString translated(const std::string &key)
{
	return translated(key.c_str());
}

FormBuilder::FormBuilder(std::function<void()> refresh_panel)
	: refresh_panel_(std::move(refresh_panel)), captions_(std::make_shared<CaptionColumn>()),
	  release_when_hidden_(std::make_unique<ReleaseWhenHidden>())
{
}

FormBuilder::~FormBuilder() = default;

void FormBuilder::add_translation(RetranslateEntry translate_widget)
{
	translate_widget();
	translations_.push_back(std::move(translate_widget));
}

void FormBuilder::add_refresher(std::function<void()> refresher)
{
	refreshers_.push_back(std::move(refresher));
}

void FormBuilder::add_change_marker(std::function<void()> marker)
{
	change_markers_.push_back(std::move(marker));
}

void FormBuilder::mark_changes()
{
	for (const auto &marker : change_markers_)
		marker();
}

QLabel *FormBuilder::addMutedLabel(QBoxLayout *layout, const char *key)
{
	QLabel *label = addLabel(layout, key);
	label->setObjectName(QStringLiteral("muted"));
	return label;
}

CaptionLabel *FormBuilder::add_marked_caption(QBoxLayout *layout, const char *key, std::function<bool()> is_changed)
{
	auto *caption = new CaptionLabel(std::make_shared<CaptionColumn>(), layout->parentWidget());
	caption->setObjectName(QStringLiteral("muted"));
	add_translation([caption, key] { caption->setText(translated(key)); });
	add_change_marker([caption, is_changed = std::move(is_changed)] { caption->mark_changed(is_changed()); });
	layout->addWidget(caption);
	return caption;
}

QLabel *FormBuilder::addLabel(QBoxLayout *layout, const char *key)
{
	auto *label = new QLabel(layout->parentWidget());
	add_translation([label, key] { label->setText(translated(key)); });
	layout->addWidget(label);
	return label;
}

QLabel *FormBuilder::addSection(QBoxLayout *layout, const char *key)
{
	section_key_ = key;
	return addLabel(layout, key);
}

void FormBuilder::addDivider(QBoxLayout *layout)
{
	layout->addWidget(make_divider(layout->parentWidget()));
}

QLabel *FormBuilder::addUnsupportedNote(QBoxLayout *layout, int32_t capabilities, std::function<bool()> is_concerned)
{
	QLabel *note = addMutedLabel(layout, "note.notVisibleYet");
	add_refresher([note, capabilities, is_concerned = std::move(is_concerned)] {
		const bool is_missing = (panel_model().capabilities & capabilities) != capabilities;
		show_or_hide(*note, is_missing && (!is_concerned || is_concerned()));
	});
	return note;
}

void FormBuilder::addBackRow(QBoxLayout *layout, int bottom_margin, std::function<void()> go_back)
{
	auto *row = new QHBoxLayout;
	row->setContentsMargins(12, 0, 12, bottom_margin);
	layout->addLayout(row);
	auto *button = new QPushButton(layout->parentWidget());
	button->setObjectName(QStringLiteral("headBtn"));
	button->setCursor(Qt::PointingHandCursor);
	button->setIcon(makeGlyphIcon(glyph::back, 15, palette::control_text));
	button->setIconSize({16, 16});
	add_translation([button] { button->setText(translated("settings.back")); });
	QObject::connect(button, &QPushButton::clicked, button, [go_back = std::move(go_back)] { go_back(); });
	row->addWidget(button, 0, Qt::AlignLeft);
	row->addStretch(1);
}

Card FormBuilder::addCard(QBoxLayout *layout, const char *title_key, CardOptions options)
{
	captions_ = std::make_shared<CaptionColumn>();
	section_key_ = nullptr;
	QFrame *frame = make_card_frame(layout->parentWidget());
	auto *body = new QVBoxLayout(frame);
	body->setContentsMargins(16, 11, 16, 11);
	body->setSpacing(row_spacing);

	auto *header = new QHBoxLayout;
	header->setSpacing(row_spacing);
	body->addLayout(header);
	QLabel *title = addLabel(header, title_key);
	title->setObjectName(QStringLiteral("cardTitle"));
	header->setAlignment(title, Qt::AlignVCenter);
	header->addStretch(1);
	if (options.subtitle_key && options.subtitle_out) {
		auto *subtitle = new ElidedLabel(frame);
		subtitle->setObjectName(QStringLiteral("muted"));
		const char *key = options.subtitle_key;
		add_translation([subtitle, key] { subtitle->set_full_text(translated(key)); });
		header->addWidget(subtitle, 0, Qt::AlignVCenter);
		*options.subtitle_out = subtitle;
	}
	if (options.capabilities != 0)
		header->setAlignment(addUnsupportedNote(header, options.capabilities), Qt::AlignVCenter);
	if (options.reset) {
		QPushButton *button = makeIconButton(glyph::reset, 16, 22, frame);
		add_translation([button, title_key] {
			button->setToolTip(translated("console.resetShort"));
			button->setAccessibleName(button->toolTip() + QStringLiteral(": ") + translated(title_key));
		});
		header->addWidget(button);
		QObject::connect(
			button, &QPushButton::clicked, button, [this, title_key, reset = std::move(options.reset)] {
				store_choice({.caption_key = title_key, .section_key = "console.resetShort"}, reset);
			});
	}
	addDivider(body);
	return {frame, body};
}

Switch *FormBuilder::addSwitchRow(QBoxLayout *layout, const char *key, bool *value)
{
	auto *row = new QHBoxLayout;
	row->setContentsMargins(0, 0, 0, 0);
	layout->addLayout(row);
	add_marked_caption(row, key, [value, initial = default_of_edited(*value)] { return *value != initial; });
	row->addStretch(1);
	auto *toggle = new Switch(layout->parentWidget());
	toggle->setFixedSize(33, 18);
	toggle->setCursor(Qt::PointingHandCursor);
	toggle->on_toggled = [this, value, change = label_of(key)](bool checked) {
		*value = checked;
		if (!syncing_)
			pushParameters(change);
		mark_changes();
	};
	add_translation([toggle, key] { toggle->setAccessibleName(translated(key)); });
	add_refresher([toggle, value] { toggle->show_checked(*value); });
	row->addWidget(toggle);
	return toggle;
}

void FormBuilder::add_option_grid(QBoxLayout *layout, const char *key, OptionField field,
				  const std::vector<OptionButton> &buttons, int columns,
				  std::span<const Swatch> swatches)
{
	add_marked_caption(layout, key, [read = field.read, initial = field.default_id] { return read() != initial; });
	auto *grid = new QGridLayout;
	layout->addLayout(grid);
	grid->setHorizontalSpacing(row_spacing);
	grid->setVerticalSpacing(row_spacing);
	auto *group = new QButtonGroup(grid);
	group->setExclusive(true);

	int i = 0;
	for (const OptionButton &option : buttons) {
		auto *button = new SmoothButton(grid->parentWidget());
		button->setCheckable(true);
		button->setCursor(Qt::PointingHandCursor);
		button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
		// The columns are equal, whatever their texts ask for.
		button->setMinimumWidth(1);
		button->setStyleSheet(QString::fromLatin1(option_button_style));
		if (static_cast<size_t>(i) < swatches.size())
			show_as_swatch(*button, swatches[static_cast<size_t>(i)]);
		group->addButton(button, option.id);
		grid->addWidget(button, i / columns, i % columns);
		add_translation([button, key, section = section_key_, option_key = option.key] {
			button->setText(translated(option_key));
			const QString name = translated(key) + QStringLiteral(": ") + button->text();
			button->setAccessibleName(under_heading(section, name));
		});
		++i;
	}
	for (int column = 0; column < columns; ++column)
		grid->setColumnStretch(column, 1);

	add_refresher([group, read = field.read] { check_only(*group, read()); });
	QObject::connect(group, &QButtonGroup::idClicked, group,
			 [this, change = label_of(key), write = std::move(field.write)](int id) {
				 store_choice(change, [&write, id] { write(id); });
			 });
}

void FormBuilder::store_choice(const ChangeLabel &label, const std::function<void()> &store)
{
	if (!syncing_) {
		store();
		pushParameters(label);
	}
	refresh_panel_();
}

void FormBuilder::use_application_style()
{
	for (const SliderRowRecord &row : slider_rows_) {
		if (row.slider->style() != QApplication::style())
			row.slider->setStyle(QApplication::style());
	}
}

void FormBuilder::retranslate()
{
	for (const RetranslateEntry &translate_widget : translations_)
		translate_widget();
}

void FormBuilder::refresh()
{
	refresh_sliders();
	for (const auto &refresher : refreshers_)
		refresher();
	mark_changes();
}

} // namespace kalvio
