// SPDX-License-Identifier: GPL-2.0-or-later
#include "source_tree.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sstream>

// What every source file has, and what the compiler of this machine would let pass but that of another system would
// not.
namespace {

using namespace kalvio::test;

// The file's folder or name says for which system it is.
TEST(Sources, AreNotSplitBySystemInside)
{
	static const std::regex condition(
		R"((^|\n)[ \t]*#[ \t]*(if|ifdef|ifndef|elif)\b[^\n]*(_WIN32|__linux__|_MSC_VER|__APPLE__))");
	for (const fs::path &file : sources_in(root / "src"))
		EXPECT_FALSE(std::regex_search(content_of(file), condition)) << file;
}

TEST(Sources, BeginWithTheirLicense)
{
	for (const char *folder : {"src", "engine", "tests", "bench"}) {
		for (const fs::path &file : sources_in(root / folder)) {
			std::ifstream in(file);
			std::string first;
			std::getline(in, first);
			EXPECT_NE(first.find("SPDX-License-Identifier: GPL-2.0-or-later"), std::string::npos) << file;
		}
	}
}

// --- What another compiler would not take

// What is compiled for users on every system, without the files that say in their names that they are for one.
std::vector<fs::path> common_sources()
{
	static const std::regex of_one_system(R"(.*_(posix|curl|windows|winhttp)\.(cpp|h))");
	std::vector<fs::path> sources = sources_in(root / "src");
	for (const char *folder : {"engine/src", "engine/include"}) {
		for (const fs::path &file : sources_in(root / folder))
			sources.push_back(file);
	}
	std::erase_if(sources, [](const fs::path &file) { return std::regex_match(file.string(), of_one_system); });
	return sources;
}

std::vector<std::string> lines_with(const std::regex &pattern, const std::set<std::string> &except = {})
{
	std::vector<std::string> found;
	for (const fs::path &file : common_sources()) {
		const std::string name = fs::relative(file, root).string();
		std::istringstream code(code_of(file));
		std::string line;
		for (int number = 1; std::getline(code, line); number++) {
			if (!except.contains(name) && std::regex_search(line, pattern))
				found.push_back(name + ":" + std::to_string(number) + ": " + line);
		}
	}
	return found;
}

using None = std::vector<std::string>;

TEST(Sources, NameHeadersOfOneSystemOnlyInFilesOfThatSystem)
{
	// sys/stat.h is there on both, and the host's os_stat takes its record.
	static const std::regex of_posix(
		"# *include "
		"*<(unistd|dlfcn|pthread|spawn|dirent|fcntl|signal|strings|getopt|poll|semaphore|termios|pwd|"
		"sys/(?!stat\\.h)[a-z/]+|netinet/.*|arpa/.*|netdb|windows|win[a-z0-9]+|shellapi|io|direct)(\\.h)?>");
	EXPECT_EQ(lines_with(of_posix), None());
	EXPECT_TRUE(std::regex_search("#include <sys/mman.h>", of_posix));
	EXPECT_FALSE(std::regex_search("#include <sys/stat.h>", of_posix));
}

TEST(Sources, TakeNoTypeThatOtherSystemsHaveInAnotherSize)
{
	// `long` has 32 bits on Windows. The JPEG library's own call takes one.
	static const std::regex alone(R"((^|[^g ]) *\blong\b(?! +(long|double)))");
	EXPECT_EQ(lines_with(alone, {"engine/src/image_jpeg.cpp"}), None());
	EXPECT_TRUE(std::regex_search("	const long value = 5;", alone));
	EXPECT_TRUE(std::regex_search("static_cast<unsigned long>(5)", alone));
	EXPECT_FALSE(std::regex_search("	long long value = 5;", alone));
	EXPECT_EQ(lines_with(std::regex(R"(\b(ssize_t|off_t|u_?int|ulong|ushort|pid_t)\b)")), None());
}

TEST(Sources, UseNoSpellingOfOneCompiler)
{
	// The two headers ask which compiler it is.
	EXPECT_EQ(
		lines_with(std::regex(R"(__attribute__|__builtin_|\btypeof\b|\b__int128\b|\?:|\bM_PI\b|\balloca *\()"),
			   {"engine/include/kalvio_engine.h", "engine/src/log.h"}),
		None());
}

// One word a line that begins with `prefix`, whatever follows it.
std::set<std::string> names_in(const fs::path &file, const std::string &prefix)
{
	std::set<std::string> names;
	std::ifstream in(file);
	for (std::string word; in >> word;) {
		if (word.starts_with(prefix))
			names.insert(word.substr(0, word.find(';')));
	}
	return names;
}

TEST(Sources, ExportTheSameNamesOfTheModuleOnEverySystem)
{
	const auto linux_names = names_in(root / "src/module/obs-kalvio.map", "obs_");
	EXPECT_EQ(linux_names.size(), 11U);
	EXPECT_EQ(names_in(root / "src/module/obs-kalvio.def", "obs_"), linux_names);
}

bool is_utf8(const std::string &text)
{
	for (size_t i = 0; i < text.size();) {
		const auto lead = static_cast<unsigned char>(text[i]);
		const size_t length = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 0;
		if (length == 0 || lead > 0xF4 || i + length > text.size())
			return false;
		for (size_t next = i + 1; next < i + length; next++) {
			if ((static_cast<unsigned char>(text[next]) & 0xC0) != 0x80)
				return false;
		}
		i += length;
	}
	return true;
}

TEST(Sources, AreUtf8WithoutByteOrderMark)
{
	for (const char *folder : {"src", "engine", "tests", "bench"}) {
		for (const fs::path &file : sources_in(root / folder)) {
			const std::string content = content_of(file);
			EXPECT_TRUE(is_utf8(content)) << file;
			EXPECT_FALSE(content.starts_with("\xEF\xBB\xBF")) << file;
		}
	}
	EXPECT_TRUE(is_utf8("a\xC3\xA9\xE7\x9B\xAE\xF0\x9F\x98\x80"));
	EXPECT_FALSE(is_utf8("\xE9 "));
}

// --- The panel's colors

std::set<std::string> colors_in(const std::string &text, const std::regex &pattern)
{
	std::set<std::string> colors;
	for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match)
		colors.insert((*match)[1]);
	return colors;
}

TEST(Sources, TakeTheColorsOfThePanelFromItsPalette)
{
	static const std::regex in_palette(R"(\brgb\(0x([0-9a-f]{6})\))");
	static const std::regex in_style_sheet(R"(#([0-9a-fA-F]{6})\b)");
	static const std::regex of_its_own(R"(\bQColor\b *\w* *[({] *[0-9]|Qt::(white|black)\b)");
	const fs::path palette = root / "src/panel/widgets/palette.h";
	const std::set<std::string> colors = colors_in(content_of(palette), in_palette);
	for (const fs::path &file : sources_in(root / "src/panel")) {
		if (file == palette)
			continue;
		const std::string content = content_of(file);
		for (const std::string &color : colors_in(content, in_style_sheet))
			EXPECT_TRUE(colors.contains(color)) << file << ": #" << color;
		EXPECT_FALSE(std::regex_search(code_of(file), of_its_own)) << file;
	}
}

} // namespace
