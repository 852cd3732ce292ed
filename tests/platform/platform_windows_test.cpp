// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/scratch.h"
#include "platform/platform.h"
#include "platform/utf16_windows.h"

#include <array>
#include <filesystem>
#include <gtest/gtest.h>
#include <windows.h>

// The calls of Windows. What the other system's tests state is stated here as far as Windows allows it.
namespace {

using namespace kalvio::test;

std::string utf8(const std::filesystem::path &path)
{
	const std::u8string text = path.u8string();
	return {text.begin(), text.end()};
}

// The C library's copy of the environment has lost what the code page lacks.
std::wstring environment_variable(const wchar_t *name)
{
	std::array<wchar_t, 4096> value = {};
	return {value.data(), GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size()))};
}

// The folder for temporary files, another one for as long as it lives. Windows looks at this variable first.
class ScopedTemporaryFolder {
public:
	explicit ScopedTemporaryFolder(const std::filesystem::path &folder)
	{
		SetEnvironmentVariableW(L"TMP", folder.c_str());
	}
	~ScopedTemporaryFolder() { SetEnvironmentVariableW(L"TMP", previous_.empty() ? nullptr : previous_.c_str()); }
	ScopedTemporaryFolder(const ScopedTemporaryFolder &) = delete;
	ScopedTemporaryFolder &operator=(const ScopedTemporaryFolder &) = delete;

private:
	const std::wstring previous_ = environment_variable(L"TMP");
};

// The folder of a copy of the probe that is loaded from there.
std::string folder_told_by_a_module_in(const std::filesystem::path &folder)
{
	std::filesystem::create_directories(folder);
	const std::filesystem::path file = folder / "probe.dll";
	std::filesystem::copy_file(KALVIO_TEST_PROBE_FILE, file);
	const HMODULE library = LoadLibraryW(file.c_str());
	if (!library)
		return "not loaded: " + std::to_string(GetLastError());
	std::array<char, 4096> buffer = {};
	const FARPROC symbol = GetProcAddress(library, "probe_module_folder");
	const auto ask = reinterpret_cast<size_t (*)(char *, size_t)>(reinterpret_cast<void *>(symbol));
	if (ask)
		ask(buffer.data(), buffer.size() - 1);
	FreeLibrary(library);
	return buffer.data();
}

TEST(ModuleFolder, IsWhereTheModuleFileLiesWithoutATrailingSeparator)
{
	const ScratchFolder scratch;
	const std::filesystem::path folder = scratch.path() / "bin" / "64bit";
	EXPECT_EQ(folder_told_by_a_module_in(folder), utf8(folder));
}

TEST(ModuleFolder, MayHaveAnyCharacters)
{
	const ScratchFolder scratch;
	for (const char8_t *name :
	     {u8"Плагіни", u8"プラグイン 配置", u8"a b'c d", u8"été", u8"Programme (Ü)\\日本 plugins"})
		EXPECT_EQ(folder_told_by_a_module_in(scratch.path() / name), utf8(scratch.path() / name));
}

TEST(ModuleFolder, IsUnknown_WhenItsPathIsTooLong)
{
	const ScratchFolder scratch;
	const std::filesystem::path deep = LR"(\\?\)" + scratch.path().wstring() + L"\\" + std::wstring(120, L'a') +
					   L"\\" + std::wstring(120, L'b') + L"\\" + std::wstring(120, L'c');
	EXPECT_EQ(folder_told_by_a_module_in(deep), "");

	// One by one: not every library looks into a folder that lies so deep.
	EXPECT_TRUE(std::filesystem::remove(deep / "probe.dll"));
	EXPECT_TRUE(std::filesystem::remove(deep));
	EXPECT_TRUE(std::filesystem::remove(deep.parent_path()));
}

TEST(ModuleFolder, IsThatOfTheCallerNotOfTheProgram)
{
	const ScratchFolder scratch;
	EXPECT_NE(folder_told_by_a_module_in(scratch.path()), kalvio::module_folder());
}

TEST(TemporaryFolder, IsTheOneOfTheEnvironmentWithATrailingSeparator)
{
	const ScratchFolder scratch;
	const ScopedTemporaryFolder temporary(scratch.path());
	EXPECT_EQ(kalvio::temporary_folder(), utf8(scratch.path()) + "\\");
}

// Of the first name the code page of western Europe has a part, of the second a look-alike: a plain L.
TEST(TemporaryFolder, MayBeOfAnyUser)
{
	for (const char8_t *user : {u8"Jürgen 太郎", u8"Łukasz"}) {
		const ScratchFolder scratch;
		const std::filesystem::path folder = scratch.path() / user;
		std::filesystem::create_directory(folder);
		const ScopedTemporaryFolder temporary(folder);
		EXPECT_EQ(kalvio::temporary_folder(), utf8(folder) + "\\");
	}
}

TEST(TemporaryFolder, IsThatOfTheUserWhomTheTestRunsAs)
{
	const std::string folder = kalvio::temporary_folder();
	EXPECT_EQ(folder, utf8(std::filesystem::temp_directory_path()));
	EXPECT_NE(folder.find(utf8(environment_variable(L"KALVIO_WINE_USER"))), std::string::npos) << folder;
}

TEST(TemporaryFolder, IsUnknown_WhenItsPathIsTooLong)
{
	const ScopedTemporaryFolder temporary(LR"(C:\)" + std::wstring(300, L'x'));
	EXPECT_EQ(kalvio::temporary_folder(), "");
}

TEST(PathSeparator, IsABackslash)
{
	EXPECT_EQ(kalvio::path_separator, "\\");
}

TEST(Utf16, TakesEveryPlaneAndNothingForNothing)
{
	EXPECT_EQ(kalvio::to_utf16(""), L"");
	EXPECT_EQ(kalvio::to_utf16("a\xC3\xA9\xE7\x9B\xAE\xF0\x9F\x98\x80"), L"a\u00E9\u76EE\U0001F600");
}

TEST(OpenUrl, RefusesWhatIsNoWebAddress)
{
	for (const char *address : {"", "https", "file:///C:/Windows/notepad.exe", R"(C:\Windows\notepad.exe)",
				    "notepad", "HTTPS:/", "javascript:1"})
		EXPECT_FALSE(kalvio::open_url(address)) << address;
}

} // namespace
