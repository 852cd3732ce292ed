// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/host_state.h"

// The functions of the host double that name sources and replace their settings.

using kalvio::test::FakeSource;

// The header of an older host lacks it.
extern "C" {
EXPORT const char *obs_source_get_uuid(const obs_source_t *source);
}

const char *obs_source_get_uuid(const obs_source_t *source)
{
	const FakeSource *fake = FakeSource::from(source);
	if (!fake)
		kalvio::test::note_host_misuse(__func__, "unknown source");
	return fake && !fake->uuid.empty() ? fake->uuid.c_str() : nullptr;
}

// As the host does it: what is cleared keeps its place among the items, and the rest is an update.
void obs_source_reset_settings(obs_source_t *source, obs_data_t *settings)
{
	FakeSource *fake = FakeSource::from(source);
	if (!fake) {
		kalvio::test::note_host_misuse(__func__, "unknown source");
		return;
	}
	kalvio::test::host_call(__func__, fake->name);
	obs_data_clear(fake->settings);
	obs_source_update(source, settings);
}
