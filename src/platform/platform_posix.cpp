// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/platform.h"

#include "platform/web_address.h"

#include <cerrno>
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

// "/tmp" belongs to all users of a machine, and a file of a fixed name in it to the first of them. TMPDIR is what the
// user chose; XDG_RUNTIME_DIR is his own (XDG base directories), where there is one.
std::string temporary_folder()
{
	const char *chosen = std::getenv("TMPDIR");
	const char *runtime = std::getenv("XDG_RUNTIME_DIR");
	std::string folder = "/tmp";
	if (chosen && *chosen)
		folder = chosen;
	else if (runtime && *runtime && access(runtime, W_OK | X_OK) == 0)
		folder = runtime;
	if (folder.back() != '/')
		folder += '/';
	return folder;
}

bool open_url(const std::string &url)
{
	if (!is_web_address(url))
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
	pid_t ended = 0;
	do {
		ended = waitpid(child, &status, 0);
	} while (ended == -1 && errno == EINTR); // a signal of the host's must leave no zombie
	return ended == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace kalvio
