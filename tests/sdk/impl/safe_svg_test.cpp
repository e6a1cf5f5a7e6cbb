#include "sdk/impl/safe_svg.h"

#include "sdk/impl/missing_icon.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using qv::String;
using qv::kelvo_sdk::impl::safeSvg;

constexpr const char* named = R"(<svg xmlns="http://www.w3.org/2000/svg">)";

String inSvg(const char* content) {
    return String(named) + content + "</svg>";
}

TEST(SafeSvg, PlainSvg_StaysAsItIs) {
    const char* contents[] = {
        "",
        " \n<g/>\n",
        R"(<path fill='#f00' d="M 0,0 L 1,1 Z"/>)",
        R"x(<g transform="scale(2)"><rect width="1" height="1"/><!-- a - comment --></g >)x",
        R"(<defs><linearGradient id="a"><stop offset="0"/></linearGradient></defs>)",
        R"x(<circle r="1" style="fill:url(#a)" stroke="url('#a')"/>)x",
        R"(<g id="image1" class="a" inkscape:label="b" xmlns:inkscape="c"/>)",
        R"(<text x="1">Öl</text><title>a > b</title>)",
    };
    for (const char* content : contents)
        EXPECT_EQ(safeSvg(inSvg(content)), inSvg(content)) << content;
}

TEST(SafeSvg, WhatStandsAroundTheRoot_IsCutOff) {
    const String icon = inSvg("<g/>");
    EXPECT_EQ(safeSvg("<?xml version='1.0'?>\n<!DOCTYPE svg PUBLIC \"-\" \"http://a/b.dtd\">\n"
                      "<!-- a -->" +
                      icon + "\n<!-- b -->\n"),
              icon);
}

TEST(SafeSvg, RootWithoutNamespace_GetsIt) {
    EXPECT_EQ(safeSvg("<svg width='1'><g/></svg>"),
              "<svg xmlns=\"http://www.w3.org/2000/svg\" width='1'><g/></svg>");
}

TEST(SafeSvg, MissingIcon_IsPlain) {
    EXPECT_TRUE(safeSvg(qv::kelvo_sdk::impl::missingIcon()).startsWith("<svg ", false));
}

TEST(SafeSvg, WhatRunsOrLoads_IsRefused) {
    const char* contents[] = {
        "<script>alert(1)</script>",
        "<g onload='a()'/>",
        "<g ONLOAD='a()'/>",
        "<a href='http://a'/>",
        "<image href='http://a/b.png'/>",
        "<image href='data:image/png;base64,AA=='/>",
        "<use href='#a'/>",
        "<foreignObject/>",
        "<style>g{}</style>",
        "<animate/>",
        "<set/>",
        "<linearGradient href='b.svg#a'/>",
        "<linearGradient xlink:href='http://a'/>",
        "<g xmlns:x='http://www.w3.org/1999/xlink' x:href='http://a'/>",
        "<rect fill='url(http://a)'/>",
        "<rect fill='URL( \"http://a\")'/>",
        "<rect style='fill:u\\72l(http://a)'/>",
        "<rect style='fill:u/**/rl(http://a)'/>",
        "<rect style='@import a'/>",
        "<rect style='cursor:image(a.png)'/>",
        "<rect fill='image-set(\"a.png\" 1x)'/>",
        "<rect style='mask:url(#a)'/>",
        "<g clip-path='url(#a)'/>",
        "<g filter='url(#a)'/>",
        "<g xml:base='http://a'/>",
        "<mask/>",
        "<pattern/>",
        "<svg xmlns='http://www.w3.org/1999/xhtml'/>",
        "<x:script xmlns:x='http://www.w3.org/2000/svg'/>",
    };
    for (const char* content : contents)
        EXPECT_TRUE(safeSvg(inSvg(content)).isEmpty()) << content;
}

TEST(SafeSvg, EntitiesAndInstructions_AreRefused) {
    const char* icons[] = {
        "<!DOCTYPE svg [<!ENTITY a 'b'>]><svg/>",
        "<!DOCTYPE svg SYSTEM \"a\" [<!ENTITY a '>'>]><svg/>",
        "<svg><text>&a;</text></svg>",
        "<svg fill='&a;'/>",
        "<svg><?php a?></svg>",
        "<?xml-stylesheet href='a.css'?><svg/>",
        "<svg><![CDATA[a]]></svg>",
    };
    for (const char* icon : icons)
        EXPECT_TRUE(safeSvg(icon).isEmpty()) << icon;
}

TEST(SafeSvg, BrokenText_IsRefused) {
    const char* icons[] = {
        "",
        "svg",
        "<svg",
        "<svg>",
        "</svg>",
        "<html/>",
        "<svg/>a",
        "<svg/><svg/>",
        "<svg></g></svg>",
        "<svg><g></svg>",
        "<svg a/>",
        "<svg a=b/>",
        "<svg a='b/>",
        "<svg a='1' a='2'/>",
        "<svg a='<'/>",
        "<svg><!-- -- --></svg>",
        "<svg><",
        "<svg a='1'b='2'/>",
        "<svg>\xff</svg>",
        "<svg>\x01</svg>",
        "<!--",
        "<?xml ",
        "<!DOCTYPE",
        "<svgs/>",
        "< svg/>",
    };
    for (const char* icon : icons)
        EXPECT_TRUE(safeSvg(icon).isEmpty()) << icon;
}

TEST(SafeSvg, EveryStartOfAnIcon_IsRefused) {
    const String icon = "<?xml version='1.0'?><svg a='b'><g><!-- c --></g>text</svg>";
    ASSERT_FALSE(safeSvg(icon).isEmpty());
    for (qv::u64 length = 0; length < icon.size(); ++length)
        EXPECT_TRUE(safeSvg(icon.substr(0, length)).isEmpty()) << length;
}

TEST(SafeSvg, LargeOrDeepIcons_AreRefused) {
    std::string deep, ends;
    for (int i = 0; i < 100; ++i) {
        deep += "<g>";
        ends += "</g>";
    }
    EXPECT_TRUE(safeSvg(inSvg((deep + ends).c_str())).isEmpty());
    EXPECT_TRUE(safeSvg(inSvg(std::string(70000, ' ').c_str())).isEmpty());
    EXPECT_FALSE(safeSvg(inSvg(std::string(60000, ' ').c_str())).isEmpty());
}

} // namespace
