// The table in docs/validation.md equals the rules in the code.

#include "kelvo/sdk/validation.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

std::vector<std::string> tableOfRules() {
    std::ifstream file(KELVO_SOURCE_DIR "/docs/validation.md");
    std::vector<std::string> rows;
    bool isInside = false;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("## ", 0) == 0) isInside = line == "## Rules";
        if (isInside && line.rfind("| `", 0) == 0) rows.push_back(line);
    }
    return rows;
}

TEST(ValidationDoc, Table_IsThatOfTheCode) {
    std::vector<std::string> rows;
    for (const ValidationRule& rule : validationRules())
        rows.push_back(std::string("| `") + rule.id + "` | " + severityName(rule.severity) + " | " +
                       rule.summary + " | " + (rule.fix ? std::string(rule.fix) + " |" : "|"));
    EXPECT_EQ(tableOfRules(), rows);
}

TEST(ValidationDoc, Ids_AreLowerCaseWordsAndUnique) {
    std::set<std::string> ids;
    for (const ValidationRule& rule : validationRules()) {
        EXPECT_EQ(std::string(rule.id).find_first_not_of("abcdefghijklmnopqrstuvwxyz-"),
                  std::string::npos)
            << rule.id;
        EXPECT_TRUE(ids.insert(rule.id).second) << rule.id;
    }
}

} // namespace
} // namespace qv::kelvo_sdk
