// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_fixture.h"

#include "panel/widgets/form_builder.h"
#include "panel/widgets/icons.h"

#include <QFile>
#include <cstdlib>
#include <functional>

// Data files of the panel that are gone or damaged: the panel opens, its controls have their names and reach the
// filter. The font is looked up once for the process, so each case has a process of its own.
namespace kalvio::test {
namespace {

constexpr int all_well = 0;

class DataFaults : public testing::TestWithParam<const char *> {
protected:
	DataFaults() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

	enum class Use { Used, Unused, Either };

	// True when the panel works with what `spoil` does to the file, and shows what is in it or not.
	static bool panel_works(const std::function<void(QFile &)> &spoil, Use use)
	{
		QFile file(QString::fromStdString(data_folder() + "/" + GetParam()));
		if (!file.exists())
			return false; // then nothing was spoiled
		spoil(file);
		PanelWorld world;
		FakeSource &filter = world.add_filter("Camera");
		KalvioPanel &panel = world.open_panel();
		for (int page = SkinPage; page <= BackgroundPage; ++page)
			world.show_page(page);
		settle();
		bool has_names = true;
		for (const QPushButton *button : panel.findChildren<QPushButton *>())
			has_names = has_names && !(button->text() + button->accessibleName()).isEmpty();
		panel_model().parameters.skin.smoothing = 0.75F;
		pushParameters();
		const bool is_as_expected = use == Use::Either || is_used() == (use == Use::Used);
		return has_names && is_as_expected && setting_double(filter, "smoothing") == 0.75;
	}

	static bool is_used()
	{
		return std::string_view(GetParam()).ends_with(".ttf") ? !icon_font_family().isEmpty()
								      : !load_logo(20).isNull();
	}

	// At once: the application that the test's own process has is not the child's to end. Its
	// fonts go with the folder, since Windows does not remove a file that is open.
	[[noreturn]] static void leave_with(bool is_well)
	{
		remove_data_folder();
		std::_Exit(is_well ? all_well : 1);
	}
};

TEST_P(DataFaults, ThePanelUsesTheFileThatIsThere)
{
	EXPECT_EXIT(leave_with(panel_works([](QFile &) {}, Use::Used)), testing::ExitedWithCode(all_well), "");
}

TEST_P(DataFaults, ThePanelWorksWithoutTheFile)
{
	EXPECT_EXIT(leave_with(panel_works([](QFile &file) { file.remove(); }, Use::Unused)),
		    testing::ExitedWithCode(all_well), "");
}

TEST_P(DataFaults, ThePanelWorksWithADamagedFile)
{
	const auto damage = [](QFile &file) {
		(void)file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
		if (file.open(QFile::WriteOnly))
			file.write("damaged");
		file.close();
	};
	EXPECT_EXIT(leave_with(panel_works(damage, Use::Unused)), testing::ExitedWithCode(all_well), "");
}

TEST_P(DataFaults, ThePanelWorksWithHalfOfTheFile)
{
	const auto shrink = [](QFile &file) {
		(void)file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
		(void)file.resize(file.size() / 2);
	};
	EXPECT_EXIT(leave_with(panel_works(shrink, Use::Either)), testing::ExitedWithCode(all_well), "");
}

INSTANTIATE_TEST_SUITE_P(
	Each, DataFaults, testing::Values("MaterialIcons-Regular.ttf", "logo-dark.png"), [](const auto &instance) {
		return std::string(instance.param).substr(0, std::string_view(instance.param).find('-'));
	});

} // namespace
} // namespace kalvio::test
