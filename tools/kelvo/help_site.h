#pragma once

#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/i_node.h"

#include <vector>

namespace qv::kelvo_tool {

/// A file of a site, by its path inside.
struct SiteFile {
    String path;
    String text;
};

/// Returns a page of help for each type and an index, "index.html", that searches them. All works
/// from a folder, and without the index's script as a list. Types are given by their prototypes; of
/// two of one name the first counts.
[[nodiscard]] std::vector<SiteFile>
helpSite(const std::vector<const kelvo_sdk::interfaces::INode*>& types);

/// Writes a site to a folder, which is made if it is not there. False with a sentence in `error`.
[[nodiscard]] bool writeSite(const std::vector<SiteFile>& site, const String& folder,
                             String& error);

} // namespace qv::kelvo_tool
