// SPDX-License-Identifier: GPL-2.0-or-later
//
// What many filters cost the user-interface thread: one turn of the panel's timer while nothing happens, and one change
// that goes to all of them, with 1, 4, 16 and 64 filters over doubles of host and engine. Per filter, beside what one
// filter takes on top of the panel's own work.

#include "comparison.h"
#include "kit/call_journal.h"
#include "kit/recording_engine.h"
#include "panel/panel_world.h"

#include <QApplication>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <string>
#include <util/base.h>
#include <vector>

namespace {

using namespace kalvio;
using namespace kalvio::test;

constexpr int counts[] = {0, 1, 4, 16, 64};
constexpr double most_growth = 1.2;

struct Figures {
	int count;
	double poll_us;
	double push_us;
};

double microseconds(int runs, const std::function<void()> &work)
{
	std::vector<double> times;
	for (int sample = 0; sample < 15; ++sample) {
		const double start = thread_seconds();
		for (int run = 0; run < runs; ++run)
			work();
		times.push_back((thread_seconds() - start) * 1e6 / runs);
	}
	return median(times);
}

Figures measure(int count)
{
	base_set_log_handler([](int, const char *, va_list, void *) {}, nullptr);
	PanelWorld world;
	set_engine_script({.idle = true});
	for (int i = 0; i < count; ++i)
		world.add_filter("Camera " + std::to_string(i));
	world.open_panel();
	ui_preferences().apply_global = true;
	world.poll();
	call_journal().set_enabled(false);
	host_double().set_cheap(true);
	float value = 0;
	const Figures figures = {count, microseconds(200, [&world] { world.poll(); }), microseconds(50, [&value] {
					 value = value < 0.5F ? 0.75F : 0.25F;
					 panel_model().parameters.skin.smoothing = value;
					 pushParameters();
				 })};
	host_double().set_cheap(false);
	call_journal().set_enabled(true);
	return figures;
}

bool draw(const char *what, const std::vector<Figures> &figures, double Figures::*field)
{
	std::printf("\n  %s, microseconds; without filters %.2f\n", what, figures[0].*field);
	const double one = figures[1].*field - figures[0].*field;
	bool held = true;
	for (size_t i = 1; i < figures.size(); ++i) {
		const double each = (figures[i].*field - figures[0].*field) / figures[i].count;
		const double ratio = each / one;
		std::printf("  %2d filters %9.2f in all, each %7.3f  x%.2f  %s\n", figures[i].count, figures[i].*field,
			    each, ratio,
			    std::string(static_cast<size_t>(std::clamp(ratio * 30.0, 0.0, 60.0)), '#').c_str());
		held = (i == 1 || report("each, times one", ratio, most_growth)) && held;
	}
	return held;
}

} // namespace

int main(int argument_count, char **arguments)
{
	const bool check = take_check_option(argument_count, arguments);
	if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
		qputenv("QT_QPA_PLATFORM", "offscreen");
	const QApplication application(argument_count, arguments);
	std::vector<Figures> figures;
	for (const int count : counts)
		figures.push_back(measure(count));
	std::printf("\nthe panel over many filters\n");
	const bool poll_held = draw("one turn of the timer", figures, &Figures::poll_us);
	const bool push_held = draw("one change to all filters", figures, &Figures::push_us);
	return (poll_held && push_held) || !check ? 0 : 1;
}
