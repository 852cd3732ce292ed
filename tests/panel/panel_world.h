// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/call_journal.h"
#include "kit/host_double.h"
#include "kit/recording_engine.h"
#include "kit/scratch.h"
#include "neighbors.h"
#include "panel/kalvio_panel.h"
#include "panel/model/panel_model.h"
#include "panel/model/ui_preferences.h"

#include <memory>
#include <string>
#include <vector>

namespace kalvio {
class SmoothButton;
}

namespace kalvio::test {

// The panel over real filters, in a host without a screen: what the user does in the panel ends in the settings of a
// filter and in its engine. One at a time.
class PanelWorld {
public:
	PanelWorld();
	~PanelWorld();
	PanelWorld(const PanelWorld &) = delete;
	PanelWorld &operator=(const PanelWorld &) = delete;

	// A filter on a source of this name, as the host makes one. The panel sees it at the next poll.
	FakeSource &add_filter(const std::string &source_name);
	void remove_filter(FakeSource &filter);
	void remove_all_filters();

	// A shown panel of this size, after its first poll. It lives as long as the world or until close_panel.
	KalvioPanel &open_panel(int width = 340, int height = 600);
	KalvioPanel &panel() { return *panel_; }
	void close_panel() { panel_.reset(); }

	// What the panel's timer does.
	void poll();
	// What it does when there is something to show.
	void show_changes();

	SmoothButton &tab(int index);
	// Chooses an effect page and lays it out.
	void show_page(int index);
	// The content of an effect page.
	QWidget &page(int index);

private:
	struct Placed {
		std::unique_ptr<FakeSource> source;
		std::unique_ptr<FakeSource> filter;
	};
	std::vector<Placed> placed_;
	ScratchFolder config_;
	std::unique_ptr<KalvioPanel> panel_;
};

// Pages by their place in the tab bar.
enum Page { SkinPage, ReshapePage, MakeupPage, FilterPage, StickerPage, BodyPage, BackgroundPage };

// The data folder of all worlds of the process, which look their effects up once: every effect but the missing ones.
inline constexpr const char *missing_filter = "plain";
inline constexpr const char *missing_sticker = "fox";
// The only one whose picture the data folder of the tests has.
inline constexpr const char *sticker_with_picture = "kiss2";
inline constexpr const char *missing_picture = "abstract"; // a preset without a picture that can be read
const std::string &data_folder();
// For a process that ends without its destructors.
void remove_data_folder();

// The data that the build made, in place of that folder. Before the first world.
void use_built_data();

// Lets the widgets do what they have put off: layout, painting, deletion.
void settle();

double setting_double(FakeSource &filter, const char *key);
long long setting_int(FakeSource &filter, const char *key);
bool setting_bool(FakeSource &filter, const char *key);
std::string setting_string(FakeSource &filter, const char *key);

} // namespace kalvio::test
