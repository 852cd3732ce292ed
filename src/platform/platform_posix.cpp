// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/platform.h"

#include <cstdlib>
#include <dlfcn.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kalvio {

const std::string_view path_separator = "/";

std::string module_folder()
{
	// Any function of this file will do: it is linked into the module.
	Dl_info info = {};
	if (dladdr(reinterpret_cast<const void *>(&module_folder), &info) == 0 || !info.dli_fname)
		return {};
	const std::string path = info.dli_fname;
	const size_t slash = path.rfind('/');
	return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

std::string temporary_folder()
{
	const char *configured = std::getenv("TMPDIR");
	std::string folder = configured && *configured ? configured : "/tmp";
	if (folder.back() != '/')
		folder += '/';
	return folder;
}

bool open_url(const std::string &url)
{
	if (!url.starts_with("https://") && !url.starts_with("http://"))
		return false;

	// The shell puts the opener in the background and ends, so that nobody has to wait for a browser and no
	// zombie stays. The address is an argument, never part of the script.
	std::string script = "command -v xdg-open >/dev/null || exit 1; xdg-open \"$1\" >/dev/null 2>&1 &";
	std::string shell = "sh";
	std::string option = "-c";
	std::string name = "open-url";
	std::string address = url;
	char *const arguments[] = {shell.data(), option.data(), script.data(), name.data(), address.data(), nullptr};

	pid_t child = 0;
	if (posix_spawn(&child, "/bin/sh", nullptr, nullptr, arguments, environ) != 0)
		return false;
	int status = 0;
	return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace kalvio
