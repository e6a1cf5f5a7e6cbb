#include "kelvo/sdk/impl/standard/standard_eval.h"

#include "kelvo/base/log.h"

namespace qv::kelvo_sdk::impl {

const StandardNames& standardNames() {
    static const StandardNames& names = *new StandardNames;
    return names;
}

bool StandardEval::refuseChoice(const String& name, const String& text) {
    if (m_ok) {
        logError("Cannot evaluate '%s': input '%s' knows no '%s'.", m_ctx->output()->path().buf(),
                 name.buf(), text.buf());
    }
    return m_ok = false;
}

} // namespace qv::kelvo_sdk::impl
