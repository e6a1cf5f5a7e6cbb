#include "tools/kelvo/commands.h"

#include "tools/kelvo/address.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/value_summary.h"

namespace qv::kelvo_tool {

Status runGet(const String& file, const String& path, Terminal& out) {
    const auto scene = kelvo_sdk::Scene::create();
    if (!loadScene(file, scene)) return Status::Fault;
    Address address;
    String error;
    if (!findAddress(scene, path, Append::Refused, address, error)) {
        complain(displayed(file) + ": " + error);
        return Status::Usage;
    }
    if (address.input.get())
        out.write(wholeValue(*address.input.get()).view()).endLine();
    else
        out.write(address.node->serialize(false, false).view());
    return Status::Ok;
}

} // namespace qv::kelvo_tool
