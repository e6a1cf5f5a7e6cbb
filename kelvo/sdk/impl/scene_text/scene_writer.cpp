#include "kelvo/sdk/impl/scene_text/scene_writer.h"

#include "kelvo/sdk/impl/scene_text/scene_writer_inputs.h"
#include "kelvo/sdk/impl/scene_text/scene_writer_nodes.h"

namespace qv::kelvo_sdk::impl {

template class TextWriter<LiveText>;

} // namespace qv::kelvo_sdk::impl
