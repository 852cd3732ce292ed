// SPDX-License-Identifier: GPL-2.0-or-later
#include "module/elf_exports.h"

#include <algorithm>
#include <cstring>
#include <elf.h>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace kalvio::test {
namespace {

class ElfFile {
public:
	explicit ElfFile(const std::string &path)
	{
		std::ifstream in(path, std::ios::binary);
		bytes_.assign(std::istreambuf_iterator<char>(in), {});
		if (bytes_.size() < sizeof(Elf64_Ehdr) || std::memcmp(bytes_.data(), ELFMAG, SELFMAG) != 0 ||
		    bytes_[EI_CLASS] != ELFCLASS64)
			throw std::runtime_error(path + " is no 64-bit ELF file");
		const auto header = at<Elf64_Ehdr>(0);
		for (size_t i = 0; i < header.e_shnum; ++i)
			sections_.push_back(at<Elf64_Shdr>(header.e_shoff + i * sizeof(Elf64_Shdr)));
	}

	// The entries of the section of this type.
	template <class Entry>
	std::vector<Entry> entries(uint32_t section_type) const
	{
		const Elf64_Shdr &section = find(section_type);
		std::vector<Entry> result;
		for (size_t offset = 0; offset < section.sh_size; offset += sizeof(Entry))
			result.push_back(at<Entry>(section.sh_offset + offset));
		return result;
	}

	// A text of the string table that belongs to the section of this type.
	std::string text(uint32_t section_type, size_t offset) const
	{
		const Elf64_Shdr &strings = sections_.at(find(section_type).sh_link);
		return bytes_.substr(strings.sh_offset + offset,
				     bytes_.find('\0', strings.sh_offset + offset) - strings.sh_offset - offset);
	}

private:
	template <class Record>
	Record at(size_t offset) const
	{
		Record record;
		if (offset + sizeof(record) > bytes_.size())
			throw std::runtime_error("truncated ELF file");
		std::memcpy(&record, bytes_.data() + offset, sizeof(record));
		return record;
	}

	const Elf64_Shdr &find(uint32_t type) const
	{
		const auto found = std::find_if(sections_.begin(), sections_.end(),
						[type](const Elf64_Shdr &section) { return section.sh_type == type; });
		if (found == sections_.end())
			throw std::runtime_error("no section of this type");
		return *found;
	}

	std::string bytes_;
	std::vector<Elf64_Shdr> sections_;
};

bool is_exported(const Elf64_Sym &symbol)
{
	const auto binding = ELF64_ST_BIND(symbol.st_info);
	const auto visibility = ELF64_ST_VISIBILITY(symbol.st_other);
	return symbol.st_shndx != SHN_UNDEF && binding != STB_LOCAL &&
	       (visibility == STV_DEFAULT || visibility == STV_PROTECTED);
}

} // namespace

ElfNames read_elf_names(const std::string &path)
{
	const ElfFile file(path);
	ElfNames names;
	for (const Elf64_Sym &symbol : file.entries<Elf64_Sym>(SHT_DYNSYM)) {
		if (is_exported(symbol))
			names.exported.push_back(file.text(SHT_DYNSYM, symbol.st_name));
	}
	std::sort(names.exported.begin(), names.exported.end());

	for (const Elf64_Dyn &entry : file.entries<Elf64_Dyn>(SHT_DYNAMIC)) {
		if (entry.d_tag == DT_NEEDED)
			names.needed.push_back(file.text(SHT_DYNAMIC, entry.d_un.d_val));
		else if (entry.d_tag == DT_RUNPATH || entry.d_tag == DT_RPATH)
			names.run_path = file.text(SHT_DYNAMIC, entry.d_un.d_val);
	}
	return names;
}

} // namespace kalvio::test
