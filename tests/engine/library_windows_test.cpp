// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_fixture.h"

#include <windows.h>

// The library as the module has it beside itself: a file somewhere, found by its path.
namespace kalvio::engine::testing {
namespace {

class Library {
public:
	explicit Library(const std::filesystem::path &file)
		: handle_(LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH))
	{
	}
	~Library()
	{
		if (handle_)
			FreeLibrary(handle_);
	}
	Library(const Library &) = delete;
	Library &operator=(const Library &) = delete;

	bool is_loaded() const { return handle_ != nullptr; }

	// `like` is the function of this program that has the same type.
	template <typename Function>
	Function *function(const char *name, Function & /*like*/) const
	{
		return reinterpret_cast<Function *>(reinterpret_cast<void *>(GetProcAddress(handle_, name)));
	}

private:
	HMODULE handle_;
};

TEST(WindowsLibrary, MakesTheSamePictures_FromAFolderOfAnyName)
{
	const ScratchFolder scratch;
	const std::filesystem::path folder = scratch.place("Programme (Ü)") / u8"日本 plugins";
	std::filesystem::create_directories(folder);
	std::filesystem::copy_file(KALVIO_TEST_LIBRARY, folder / "kalvio.dll");
	std::filesystem::copy_file(KALVIO_DATA_DIR "/resource.kld", folder / "resource.kld");
	const Library library(folder / "kalvio.dll");
	ASSERT_TRUE(library.is_loaded());

	const std::u8string text = (folder / "resource.kld").u8string();
	const std::string resource(text.begin(), text.end());
	const kl_engine_config config = {0, 0, nullptr, resource.c_str(), "org.test.engine", 0};
	const Picture input = noise_picture(320, 180, 3);
	Picture own(input.width, input.height);
	Picture of_library(input.width, input.height);

	const auto process = [&](auto &create, auto &smooth, auto &process_rgba, auto &destroy, Picture &output) {
		kl_engine *engine = create(&config);
		ASSERT_NE(engine, nullptr);
		EXPECT_EQ(smooth(engine, 0.8F), KL_OK);
		EXPECT_EQ(process_rgba(engine, input.bytes.data(), input.width, input.height, input.stride,
				       output.bytes.data(), KL_PIXEL_FORMAT_RGBA, 0),
			  KL_OK);
		destroy(engine);
	};
	process(kl_engine_create, kl_set_smoothing, kl_process_rgba, kl_engine_destroy, own);
	process(*library.function("kl_engine_create", kl_engine_create),
		*library.function("kl_set_smoothing", kl_set_smoothing),
		*library.function("kl_process_rgba", kl_process_rgba),
		*library.function("kl_engine_destroy", kl_engine_destroy), of_library);
	EXPECT_EQ(of_library.bytes, own.bytes);
	EXPECT_NE(own.bytes, input.bytes);
}

} // namespace
} // namespace kalvio::engine::testing
