// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <vector>

namespace kalvio::test {

// What a shared library offers and asks for, read from its file.
struct ElfNames {
	std::vector<std::string> exported; // defined, visible symbols in order of their names
	std::vector<std::string> needed;   // libraries, in the order in which they are loaded
	std::string run_path;
};

// Throws std::runtime_error when `path` is no 64-bit ELF library of this machine.
ElfNames read_elf_names(const std::string &path);

} // namespace kalvio::test
