// SPDX-License-Identifier: GPL-2.0-or-later
#include "source_tree.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <regex>
#include <set>
#include <sstream>

// faults.txt names every call of the product that can fail and the test that lets it. Here the list is compared with
// the sources and with the tests: a call that it does not know, an entry whose call or whose test is gone.
namespace {

using namespace kalvio::test;

using Names = std::set<std::string>;

struct Entry {
	std::string kind; // "can" or "not"
	std::string file; // below src; empty for all, which only "not" may say
	std::string function;
	std::string failure; // for "not" the reason
	std::string test;    // of "can"
};

std::vector<Entry> read_list()
{
	std::vector<Entry> entries;
	std::ifstream in(root / "tests/build/faults.txt");
	for (std::string line; std::getline(in, line);) {
		std::istringstream words(line);
		Entry entry;
		if (!(words >> entry.kind) || entry.kind.starts_with("#"))
			continue;
		words >> entry.function;
		if (entry.kind != "not" || entry.function.find('/') != std::string::npos) {
			entry.file = entry.function;
			words >> entry.function;
		}
		words >> entry.failure >> entry.test;
		entries.push_back(std::move(entry));
	}
	return entries;
}

// Calls of the host, the engine, the system and the libraries; functions that are only named, as in a table or as a
// deleter, are called there. Types end in a way of their own.
Names calls_in(const fs::path &file)
{
	static const std::regex call(
		"\\b("
		"(?:obs|gs|kl|os|curl|signal_handler|text_lookup|calldata)_[a-z0-9_]+(?= *[(>),};])"
		"|std::filesystem::(?!path\\b)\\w+(?= *\\()"
		"|std::(?:thread|getenv|atexit|fopen|ifstream|ofstream|async|system)\\b"
		"|(?:posix_spawnp?|waitpid|dladdr|dlopen|dlsym|access|getenv|fopen|socket|fork|mmap)(?= *\\()"
		"|QFontDatabase::\\w+(?= *\\()"
		"|(?:QFile|QFileInfo|QSaveFile|QImageReader|QImageWriter|QProcess|QThread|QSettings|QDesktopServices)"
		"\\b"
		"|WinHttp\\w+(?= *\\()|GetProcAddress(?= *\\()"
		"|(?:Get|Set|Create|Open|Shell|Load|Find|Move|Copy|Replace|Delete)\\w+(?:A|W)(?= *\\()"
		"|(?:MultiByteToWideChar|WideCharToMultiByte)(?= *\\()"
		")");
	static const std::regex type(
		"\\w+_t|kl_engine|kl_(engine|log)_config|obs_source_info|obs_hotkey(_pair)?_id|obs_hotkey_func|"
		"obs_frontend_event|curl_slist");
	const std::string code = code_of(file);
	Names names;
	for (std::sregex_iterator match(code.begin(), code.end(), call), end; match != end; ++match) {
		const std::string name = match->str(1);
		// A member function of the same name is another one.
		const auto place = static_cast<size_t>(match->position(1));
		const bool is_member = place > 0 && (code[place - 1] == '.' || code[place - 1] == '>');
		if (!is_member && !std::regex_match(name, type))
			names.insert(name);
	}
	if (file.filename() == "callback_shim.h")
		names.insert("memory"); // the place where exceptions of all callbacks end
	return names;
}

bool matches(const std::string &pattern, const std::string &name)
{
	return pattern.ends_with("*") ? name.starts_with(pattern.substr(0, pattern.size() - 1)) : name == pattern;
}

bool covers(const Entry &entry, const std::string &file, const std::string &name)
{
	return matches(entry.function, name) && (entry.file.empty() || entry.file == file);
}

// Headers of the host are included by name; they are no calls.
std::vector<std::pair<std::string, Names>> calls_of_the_product()
{
	std::vector<std::pair<std::string, Names>> calls;
	for (const fs::path &file : sources_in(root / "src"))
		calls.emplace_back(fs::relative(file, root / "src").generic_string(), calls_in(file));
	return calls;
}

Names tests_of_the_tree()
{
	static const std::regex test(R"(\nTEST(?:_F|_P)?\((\w+),\s*(\w+)\))");
	Names names;
	for (const fs::path &file : sources_in(root / "tests")) {
		const std::string code = code_of(file);
		for (std::sregex_iterator match(code.begin(), code.end(), test), end; match != end; ++match)
			names.insert(match->str(1) + "." + match->str(2));
	}
	return names;
}

TEST(Faults, EveryCallThatCanFailIsInTheList)
{
	const std::vector<Entry> list = read_list();
	for (const auto &[file, names] : calls_of_the_product()) {
		for (const std::string &name : names)
			EXPECT_TRUE(std::ranges::any_of(list,
							[&](const Entry &entry) { return covers(entry, file, name); }))
				<< file << " calls " << name << ", which tests/build/faults.txt does not know";
	}
}

TEST(Faults, EveryEntryHasItsCall)
{
	const auto calls = calls_of_the_product();
	for (const Entry &entry : read_list()) {
		const bool is_called = std::ranges::any_of(calls, [&](const auto &of_file) {
			return std::ranges::any_of(of_file.second, [&](const std::string &name) {
				return covers(entry, of_file.first, name);
			});
		});
		EXPECT_TRUE(is_called) << entry.file << " " << entry.function << " is called no more";
	}
}

TEST(Faults, EveryEntryHasItsTest)
{
	const Names tests = tests_of_the_tree();
	ASSERT_GT(tests.size(), 500U);
	for (const Entry &entry : read_list()) {
		if (entry.kind == "can") {
			EXPECT_TRUE(tests.contains(entry.test))
				<< entry.function << ": there is no test " << entry.test;
		}
	}
}

TEST(Faults, TheListIsWellFormed)
{
	size_t can = 0;
	Names seen;
	for (const Entry &entry : read_list()) {
		EXPECT_TRUE(entry.kind == "can" || entry.kind == "not") << entry.kind;
		EXPECT_FALSE(entry.function.empty() || entry.failure.empty()) << entry.function;
		EXPECT_TRUE(seen.insert(entry.file + entry.function + entry.failure).second) << entry.function;
		can += entry.kind == "can" ? 1U : 0U;
	}
	EXPECT_GE(can, 120U);
	std::cout << can << " faults, each with a test\n";
}

} // namespace
