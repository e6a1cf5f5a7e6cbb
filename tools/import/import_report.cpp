#include "tools/import/import_report.h"

#include "kelvo/base/string_io.h"

#include <algorithm>
#include <utility>

namespace qv::model_import {

void LeftOut::add(String name, u64 more) {
    count += more;
    if (names.size() == Report::maxKeptNames || name.isEmpty()) return;
    if (!names.contains(name, false)) names.push_back(std::move(name));
}

void Report::leaveOut(const char* what, String name, u64 count) {
    LeftOut* item = std::find_if(leftOut.begin(), leftOut.end(),
                                 [&](const LeftOut& i) { return i.what == what; });
    if (item == leftOut.end()) {
        leftOut.push_back({String(what), 0, {}});
        item = &leftOut.back();
    }
    item->add(std::move(name), count);
}

String Report::text(const LeftOut& item, u64 maxNames) {
    StringIO out;
    out.append(item.what).append(": ").appendUInt(item.count);
    const u64 shown = std::min(item.names.size(), maxNames);
    for (u64 i = 0; i < shown; ++i)
        out.append(i == 0 ? " (" : ", ").append(item.names[i]);
    if (shown < item.names.size())
        out.append(" and ").appendUInt(item.names.size() - shown).append(" more");
    if (shown != 0) out.append(')');
    return out.take();
}

} // namespace qv::model_import
