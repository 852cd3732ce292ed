// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/platform_double.h"

#include "kit/call_journal.h"
#include "platform/platform.h"

namespace kalvio::test {
namespace {

struct Folders {
	std::string module;
	std::string temporary = "/tmp/";
};

Folders &folders()
{
	static Folders instance;
	return instance;
}

} // namespace

void set_module_folder(const std::string &folder)
{
	folders().module = folder;
}

void set_temporary_folder(const std::string &folder)
{
	folders().temporary = folder;
}

void reset_platform()
{
	folders() = {};
}

} // namespace kalvio::test

namespace kalvio {

const std::string_view path_separator = "/";

std::string module_folder()
{
	return test::folders().module;
}

std::string temporary_folder()
{
	return test::folders().temporary;
}

bool open_url(const std::string &url)
{
	test::call_journal().record(test::CallOrigin::Seam, "open_url", nullptr, url);
	return true;
}

} // namespace kalvio
