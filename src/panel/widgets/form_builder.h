// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "panel/model/panel_model.h"
#include "panel/model/undo_history.h"
#include "params/parameter_defaults.h"

#include <QBoxLayout>
#include <QColor>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

class QButtonGroup;
class QFrame;
class QLabel;
class QObject;
class QSlider;

namespace kalvio {

class CaptionLabel;
class ElidedLabel;
struct CaptionColumn;
class Switch;
class ValueEdit;
class ValueLabel;

// Between the widgets of a row, and between rows that belong together, in pixels.
inline constexpr int row_spacing = 8;

// One slider, as the refresh needs it. A strength is shown times 100, rounded.
struct SliderRowRecord {
	QWidget *row;
	QSlider *slider;
	CaptionLabel *caption;
	ValueLabel *value_label;
	const char *caption_key;
	ChangeLabel change; // of each of its changes
	float *value;       // of the parameters that the panel edits
	float default_value;
	std::function<bool()> is_visible; // empty: always
	int shown_value;                  // what the value label says
};

// Left and right color of a swatch.
struct Swatch {
	QColor start;
	QColor end;
};

// One button of an option row. Keys have static storage.
template <class T>
struct Option {
	T value;
	const char *key;
};

// What a card's header shows beside its title.
struct CardOptions {
	const char *subtitle_key = nullptr;
	ElidedLabel **subtitle_out = nullptr; // where the subtitle's label goes; without it there is no subtitle
	std::function<void()> reset;          // back to the defaults of this card; without it there is no button
	int32_t capabilities = 0;             // kl_capability: what the engine needs to draw this card
};

struct Card {
	QFrame *frame;
	QVBoxLayout *body;
};

// The default of a field of panel_model().parameters.
template <class T>
const T &default_of_edited(const T &field)
{
	return default_of(panel_model().parameters, field);
}

// Re-reads the text of one widget in the current language.
using RetranslateEntry = std::function<void()>;

// Builds the rows of the pages and keeps what the panel needs to translate and refresh them later. Every control is
// bound to one field of panel_model().parameters: a change is stored there and pushed at once. Keys are keys of
// translate() and have static storage. Layouts and widgets belong to the tree that they are put into, which must not
// outlive this object.
//
// Widgets are made as children of the layout's widget, and take their own style sheets after that: one that joins the
// panel's styled tree later, or with a sheet of its own, is styled several times over.
class FormBuilder {
public:
	// `refresh_panel` brings every control of the panel up to date.
	explicit FormBuilder(std::function<void()> refresh_panel);
	~FormBuilder();
	FormBuilder(const FormBuilder &) = delete;
	FormBuilder &operator=(const FormBuilder &) = delete;

	// Runs `translate_widget` now, and again at each retranslate().
	void add_translation(RetranslateEntry translate_widget);
	void add_refresher(std::function<void()> refresher);
	// `marker` shows whether settings are at their defaults: it runs at each refresh, and after an edit that is
	// followed by none.
	void add_change_marker(std::function<void()> marker);

	QLabel *addMutedLabel(QBoxLayout *layout, const char *key);
	// A muted label that is brighter while `is_changed`.
	CaptionLabel *add_marked_caption(QBoxLayout *layout, const char *key, std::function<bool()> is_changed);
	QLabel *addLabel(QBoxLayout *layout, const char *key);
	// A label over the rows that follow in the card, which names them in the host's undo history too.
	QLabel *addSection(QBoxLayout *layout, const char *key);
	void addDivider(QBoxLayout *layout);
	// A muted line that says that the settings around it cannot be seen yet, for as long as the engine lacks one of
	// `capabilities` (a sum of kl_capability) and `is_concerned`, if given, is true.
	QLabel *addUnsupportedNote(QBoxLayout *layout, int32_t capabilities, std::function<bool()> is_concerned = {});
	// The button that leads from a page that covers the others back to them, in the page's top left corner.
	void addBackRow(QBoxLayout *layout, int bottom_margin, std::function<void()> go_back);
	// The card belongs to the widget of `layout`, but the caller puts it there.
	Card addCard(QBoxLayout *layout, const char *title_key, CardOptions options);
	Switch *addSwitchRow(QBoxLayout *layout, const char *key, bool *value);
	void addSliderRow(QBoxLayout *layout, const char *key, float *value, bool is_bipolar,
			  std::function<bool()> is_visible = {});

	// A caption over a grid of buttons, one an option; option i is a swatch when there is a color i. T is an
	// enumeration or int. `on_change` runs after the field is written and before it is pushed.
	template <class T>
	void addOptionRow(QBoxLayout *layout, const char *key, T *value, std::span<const Option<T>> options,
			  int columns, std::span<const Swatch> swatches = {}, std::function<void()> on_change = {});

	// The user clicked a member of a group of options or tiles: `store` writes the parameters, unless a refresh is
	// running. In any case the panel is refreshed.
	void store_choice(const ChangeLabel &label, const std::function<void()> &store);

	// After the application took another style object, which widgets with a style of their own do not learn.
	void use_application_style();

	void retranslate();
	// Sliders first, then the refreshers in their order. The caller has set syncing.
	void refresh();

	// True while the panel brings its controls up to date: what they then report is no edit.
	bool is_syncing() const { return syncing_; }

	// Sets syncing for its own life.
	class SyncScope {
	public:
		explicit SyncScope(FormBuilder &form) : form_(form), previous_(form.syncing_) { form_.syncing_ = true; }
		~SyncScope() { form_.syncing_ = previous_; }
		SyncScope(const SyncScope &) = delete;
		SyncScope &operator=(const SyncScope &) = delete;

	private:
		FormBuilder &form_;
		bool previous_;
	};

	const std::vector<SliderRowRecord> &slider_rows() const { return slider_rows_; }

private:
	struct OptionField {
		std::function<int()> read;
		std::function<void(int)> write; // and on_change
		int default_id;
	};
	struct OptionButton {
		int id;
		const char *key;
	};
	void add_option_grid(QBoxLayout *layout, const char *key, OptionField field,
			     const std::vector<OptionButton> &buttons, int columns, std::span<const Swatch> swatches);
	ChangeLabel label_of(const char *key) const { return {.caption_key = key, .section_key = section_key_}; }
	void connect_slider_row(size_t index);
	void slider_moved(SliderRowRecord &row, int position);
	void store_value(const SliderRowRecord &row, float value, bool is_step);
	void type_value(const SliderRowRecord &row, const QString &text);
	void refresh_sliders();
	void mark_changes();

	std::function<void()> refresh_panel_;
	std::shared_ptr<CaptionColumn> captions_;      // of the sliders of the card that is being built
	const char *section_key_ = nullptr;            // of the rows that are being built
	std::unique_ptr<QObject> release_when_hidden_; // watches the sliders
	std::vector<RetranslateEntry> translations_;
	std::vector<SliderRowRecord> slider_rows_;
	std::vector<std::function<void()>> refreshers_;
	std::vector<std::function<void()>> change_markers_;
	bool syncing_ = false;
};

// The frame of a card, empty.
QFrame *make_card_frame(QWidget *parent);

// A line across, one pixel high.
QWidget *make_divider(QWidget *parent);

// Where the slider of a strength stands: clamped to -1..1, times 100, rounded half away from zero.
int slider_position(float value);

// Shows or hides a child, and does nothing when that is how it is: Qt polishes and lays out a widget that is told to
// show for the first time, even inside a window that is not shown yet.
void show_or_hide(QWidget &child, bool is_shown);

// Checks the button with this id, or nothing when there is none, in an exclusive group, which by itself never lets its
// last one go.
void check_only(QButtonGroup &group, int id);

// How a screen reader names a control, which many of the same caption are on a page: after the heading above it, whose
// key may be null.
QString under_heading(const char *section_key, const QString &name);

// The text of `key` as Qt takes it.
QString translated(const char *key);
QString translated(const std::string &key);

template <class T>
void FormBuilder::addOptionRow(QBoxLayout *layout, const char *key, T *value, std::span<const Option<T>> options,
			       int columns, std::span<const Swatch> swatches, std::function<void()> on_change)
{
	std::vector<OptionButton> buttons;
	buttons.reserve(options.size());
	for (const Option<T> &option : options)
		buttons.push_back({static_cast<int>(option.value), option.key});
	OptionField field{[value] { return static_cast<int>(*value); },
			  [value, on_change = std::move(on_change)](int id) {
				  *value = static_cast<T>(id);
				  if (on_change)
					  on_change();
			  },
			  static_cast<int>(default_of_edited(*value))};
	add_option_grid(layout, key, std::move(field), buttons, columns, swatches);
}

} // namespace kalvio
