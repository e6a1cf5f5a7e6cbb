#pragma once

#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/i_node.h"

#include <vector>

namespace qv::kelvo_tool {

/// A file of a site, with its path inside the site.
struct SiteFile {
    String path;
    String text;
};

/// Returns a help page for each type and a searchable index, "index.html". The site works from a
/// folder; without scripts the index is a plain list. Types are given by their prototypes; of two
/// with the same name the first counts.
[[nodiscard]] std::vector<SiteFile>
helpSite(const std::vector<const kelvo_sdk::interfaces::INode*>& types);

/// Writes a site to a folder, created if missing. False with a sentence in `error`.
[[nodiscard]] bool writeSite(const std::vector<SiteFile>& site, const String& folder,
                             String& error);

} // namespace qv::kelvo_tool
