// SPDX-License-Identifier: GPL-2.0-or-later
#include "curl_faults.h"

#include <curl/curl.h>

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdlib>
#include <dlfcn.h>

namespace kalvio::test {

namespace {

struct Fault {
	std::string_view function;
	std::atomic<int> calls_to_pass = 0;
	std::atomic<int> failures_left = 0;
	std::atomic<int> calls = 0;
};

std::array<Fault, 13> &faults()
{
	static std::array<Fault, 13> list = {Fault{"curl_global_init"},
					     Fault{"curl_url"},
					     Fault{"curl_url_set"},
					     Fault{"curl_url_get"},
					     Fault{"curl_slist_append"},
					     Fault{"curl_easy_init"},
					     Fault{"curl_easy_setopt"},
					     Fault{"curl_easy_getinfo"},
					     Fault{"curl_multi_init"},
					     Fault{"curl_multi_poll"},
					     Fault{"curl_multi_perform"},
					     Fault{"curl_multi_add_handle"},
					     Fault{"curl_multi_remove_handle"}};
	return list;
}

std::atomic<int> open_objects = 0;

Fault &fault_of(std::string_view function)
{
	for (Fault &fault : faults()) {
		if (fault.function == function)
			return fault;
	}
	std::abort();
}

// Whether `caller` lies in this program: the library calls its own functions as well.
bool is_ours(const void *caller)
{
	static const void *const program = [] {
		Dl_info info = {};
		dladdr(&open_objects, &info);
		return info.dli_fbase;
	}();
	Dl_info info = {};
	return dladdr(caller, &info) != 0 && info.dli_fbase == program;
}

// Counts a call of ours and tells whether it has to fail.
bool fails(std::string_view function, const void *caller)
{
	if (!is_ours(caller))
		return false;
	Fault &fault = fault_of(function);
	fault.calls++;
	if (fault.calls_to_pass > 0) {
		fault.calls_to_pass--;
		return false;
	}
	if (fault.failures_left > 0)
		return fault.failures_left-- > 0;
	return fault.failures_left == every_time;
}

template <class Function>
Function *library(const char *name)
{
	void *symbol = dlsym(RTLD_NEXT, name);
	if (!symbol)
		std::abort();
	return reinterpret_cast<Function *>(symbol);
}

template <class Handle>
Handle *count_opened(Handle *handle, const void *caller)
{
	open_objects += handle && is_ours(caller) ? 1 : 0;
	return handle;
}

void count_closed(const void *handle, const void *caller)
{
	open_objects -= handle && is_ours(caller) ? 1 : 0;
}

} // namespace

void make_curl_fail(std::string_view function, int times, int passed)
{
	fault_of(function).calls_to_pass = passed;
	fault_of(function).failures_left = times;
}

void reset_curl_faults()
{
	for (Fault &fault : faults()) {
		fault.calls_to_pass = 0;
		fault.failures_left = 0;
		fault.calls = 0;
	}
	open_objects = 0;
}

int curl_calls(std::string_view function)
{
	return fault_of(function).calls;
}

int open_curl_objects()
{
	return open_objects;
}

} // namespace kalvio::test

using namespace kalvio::test;

#define LIBRARY(name) (library<decltype(name)>(#name))
#define CALLER (__builtin_return_address(0))

// The header wraps the two in macros that check the number of arguments.
#undef curl_easy_setopt
#undef curl_easy_getinfo

// Some versions take a pointer to a constant address here and others do not.
template <class>
struct FirstArgument;
template <class Result, class First, class... Others>
struct FirstArgument<Result (*)(First, Others...)> {
	using Type = First;
};
using UrlToRead = FirstArgument<decltype(&curl_url_get)>::Type;

#pragma GCC visibility push(default)
extern "C" {

CURLcode curl_global_init(long flags)
{
	return fails(__func__, CALLER) ? CURLE_FAILED_INIT : LIBRARY(curl_global_init)(flags);
}

CURLU *curl_url(void)
{
	return fails(__func__, CALLER) ? nullptr : count_opened(LIBRARY(curl_url)(), CALLER);
}

void curl_url_cleanup(CURLU *handle)
{
	count_closed(handle, CALLER);
	LIBRARY(curl_url_cleanup)(handle);
}

CURLUcode curl_url_set(CURLU *handle, CURLUPart what, const char *part, unsigned flags)
{
	return fails(__func__, CALLER) ? CURLUE_OUT_OF_MEMORY : LIBRARY(curl_url_set)(handle, what, part, flags);
}

CURLUcode curl_url_get(UrlToRead handle, CURLUPart what, char **part, unsigned flags)
{
	return fails(__func__, CALLER) ? CURLUE_OUT_OF_MEMORY : LIBRARY(curl_url_get)(handle, what, part, flags);
}

curl_slist *curl_slist_append(curl_slist *list, const char *text)
{
	return fails(__func__, CALLER) ? nullptr : count_opened(LIBRARY(curl_slist_append)(list, text), CALLER);
}

void curl_slist_free_all(curl_slist *list)
{
	count_closed(list, CALLER);
	LIBRARY(curl_slist_free_all)(list);
}

CURL *curl_easy_init(void)
{
	return fails(__func__, CALLER) ? nullptr : count_opened(LIBRARY(curl_easy_init)(), CALLER);
}

void curl_easy_cleanup(CURL *handle)
{
	count_closed(handle, CALLER);
	LIBRARY(curl_easy_cleanup)(handle);
}

// A pointer is handed on for every kind of option but the 64-bit numbers: it is as wide as the others on this system.
CURLcode curl_easy_setopt(CURL *handle, CURLoption option, ...)
{
	va_list arguments;
	va_start(arguments, option);
	void *const value = va_arg(arguments, void *);
	va_end(arguments);
	return fails(__func__, CALLER) ? CURLE_UNKNOWN_OPTION : LIBRARY(curl_easy_setopt)(handle, option, value);
}

CURLcode curl_easy_getinfo(CURL *handle, CURLINFO info, ...)
{
	va_list arguments;
	va_start(arguments, info);
	void *const value = va_arg(arguments, void *);
	va_end(arguments);
	return fails(__func__, CALLER) ? CURLE_BAD_FUNCTION_ARGUMENT : LIBRARY(curl_easy_getinfo)(handle, info, value);
}

CURLM *curl_multi_init(void)
{
	return fails(__func__, CALLER) ? nullptr : count_opened(LIBRARY(curl_multi_init)(), CALLER);
}

CURLMcode curl_multi_cleanup(CURLM *handle)
{
	count_closed(handle, CALLER);
	return LIBRARY(curl_multi_cleanup)(handle);
}

CURLMcode curl_multi_add_handle(CURLM *multi, CURL *easy)
{
	return fails(__func__, CALLER) ? CURLM_OUT_OF_MEMORY : LIBRARY(curl_multi_add_handle)(multi, easy);
}

// One that fails has done its work: a handle that stays in its multi handle may not be closed.
CURLMcode curl_multi_remove_handle(CURLM *multi, CURL *easy)
{
	const CURLMcode result = LIBRARY(curl_multi_remove_handle)(multi, easy);
	return fails(__func__, CALLER) ? CURLM_INTERNAL_ERROR : result;
}

CURLMcode curl_multi_perform(CURLM *multi, int *running)
{
	return fails(__func__, CALLER) ? CURLM_INTERNAL_ERROR : LIBRARY(curl_multi_perform)(multi, running);
}

CURLMcode curl_multi_poll(CURLM *multi, curl_waitfd *extra, unsigned count, int timeout_ms, int *ready)
{
	return fails(__func__, CALLER) ? CURLM_INTERNAL_ERROR
				       : LIBRARY(curl_multi_poll)(multi, extra, count, timeout_ms, ready);
}

} // extern "C"
#pragma GCC visibility pop
