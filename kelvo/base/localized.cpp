#include "kelvo/base/localized.h"

#include "kelvo/base/ascii.h"

#include <algorithm>
#include <mutex>

namespace qv::os {

namespace {

constexpr const char* firstLanguage = "en";

// Never destroyed: objects with static storage may ask for labels in their destructors.
struct LanguageSetting {
    std::mutex mutex;
    String language = firstLanguage;

    static LanguageSetting& instance() {
        static LanguageSetting& setting = *new LanguageSetting;
        return setting;
    }
};

char normalized(char c) noexcept {
    return c == '_' ? '-' : ascii::toLower(c);
}

bool sameLanguage(std::string_view a, std::string_view b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return normalized(x) == normalized(y); });
}

String itemOfLanguage(const ds::HashMap<String, String>& items, std::string_view lang) {
    for (const auto& item : items)
        if (!item.value.isEmpty() && sameLanguage(item.key, lang)) return item.value;
    return {};
}

} // namespace

String localizedItem(const ds::HashMap<String, String>& items, String lang) {
    if (lang == "auto") lang = language();
    const String* exact = items.find(lang);
    if (exact && !exact->isEmpty()) return *exact;
    std::string_view wanted = lang;
    while (!wanted.empty()) {
        String found = itemOfLanguage(items, wanted);
        if (!found.isEmpty()) return found;
        const u64 cut = wanted.find_last_of("-_");
        wanted = wanted.substr(0, cut == std::string_view::npos ? 0 : cut);
    }
    return {};
}

void setLanguage(String lang) {
    if (lang.isEmpty() || lang == "auto") lang = firstLanguage;
    LanguageSetting& setting = LanguageSetting::instance();
    const std::lock_guard lock(setting.mutex);
    setting.language.swap(lang); // destroys the old text after unlocking
}

String language() {
    LanguageSetting& setting = LanguageSetting::instance();
    const std::lock_guard lock(setting.mutex);
    return setting.language;
}

} // namespace qv::os
