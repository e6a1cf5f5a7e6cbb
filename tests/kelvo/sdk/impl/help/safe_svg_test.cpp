#include "kelvo/sdk/icon.h"

#include "kelvo/sdk/impl/help/missing_icon.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using qv::String;
using qv::kelvo_sdk::safeSvg;

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

TEST(SafeSvg, TextAroundTheRoot_IsCutOff) {
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

// HTML ends a comment at "<!-->" and "<!--->", and takes the text after it for markup.
TEST(SafeSvg, CommentsThatEndEarlierInHtml_AreRefused) {
    const char* contents[] = {
        "<!--><script>a()</script>-->",
        "<!---><script>a()</script>-->",
        "<!-- a --!> -->",
        "<!-- -->-->",
        "<!-- a --->",
        "<!---->-->",
        "<!-- <!-- -->-->",
        "<!--->",
        "<!-->",
    };
    const char* refused[] = {"<!--><g/>-->", "<!---><g/>-->", "<!-- a --!> -->",
                             "<!-- a --->",  "<!--->",        "<!-->"};
    for (const char* content : refused)
        EXPECT_TRUE(safeSvg(inSvg(content)).isEmpty()) << content;
    for (const char* content : contents)
        EXPECT_EQ(safeSvg(inSvg(content)).view().find("<script"), std::string::npos) << content;
}

// HTML parses elements inside a title or description as HTML; a second title even swallows the
// rest.
TEST(SafeSvg, ElementsInTitlesAndDescriptions_AreRefused) {
    for (const char* content :
         {"<title><title>a</title></title>", "<desc><g/></desc>", "<title><svg/></title>"})
        EXPECT_TRUE(safeSvg(inSvg(content)).isEmpty()) << content;
    EXPECT_FALSE(safeSvg(inSvg("<title/><desc>a<!-- b --></desc>")).isEmpty());
}

TEST(SafeSvg, AttributesThatNoDrawingIsMadeOf_AreLeftOut) {
    EXPECT_EQ(safeSvg(inSvg("<g tabindex='0' id='a' autofocus='' VIEWBOX=\"1\"\n/>")),
              inSvg("<g id='a'\n/>"));
    EXPECT_EQ(safeSvg("<svg accesskey='a'/>"), R"(<svg xmlns="http://www.w3.org/2000/svg"/>)");
}

TEST(SafeSvg, AddressesInAnyAttribute_AreRefused) {
    const char* attributes[] = {
        "foo='http://a'",
        "foo='//a'",
        "foo='jav\tascript:a()'",
        "foo=' D a t a:,'",
        "id='javascript:a()'",
        "XLINK:HREF='http://a' xmlns:XLINK='http://www.w3.org/1999/xlink'",
        "x:src='a' xmlns:x='b'",
        "x:foo='http://a' xmlns:x='b'",
        "xml:base='#a'",
        "href=' #a'",
        "href='a#b'",
        "fill='u&#114;l(http://a)'",
        "fill='src(\"a.png\")'",
        "fill='-webkit-cross-fade(url(#a), b)'",
        "fill='expression(a())'",
        "fill='var(--a)'",
        "style='fill:attr(a)'",
        "style='background:red'",
        "style='position:fixed'",
        "style='animation:a 1s'",
        "style='-moz-binding:url(#a)'",
        "style='fill:red}*{color:red'",
        "style='a'",
        "values='a'",
        "attributeName='href'",
    };
    for (const char* attribute : attributes)
        EXPECT_TRUE(safeSvg(inSvg(("<g " + std::string(attribute) + "/>").c_str())).isEmpty())
            << attribute;
}

TEST(SafeSvg, StylesOfDrawings_StayAsTheyAre) {
    for (const char* style :
         {"fill:none;stroke:rgb(1,2,3);stroke-width:2px;", " fill : URL( #a ) ; clip-rule:evenodd ",
          "-inkscape-stroke:hairline;font-family:'a b'", "", ";;"})
        EXPECT_FALSE(
            safeSvg(inSvg(("<g style=\"" + std::string(style) + "\"/>").c_str())).isEmpty())
            << style;
}

TEST(SafeSvg, TextsThatAreNoXml_AreRefused) {
    const char* icons[] = {
        "<?xml?><svg/>",
        "<?xml foo='1'?><svg/>",
        "<?xml version='1.0' encoding='utf-16'?><svg/>",
        "<?xml version='1.0' standalone='a'?><svg/>",
        " <?xml version='1.0'?><svg/>",
        "<!DOCTYPE html><svg/>",
        "<!DOCTYPE svg PUBLIC 'a'><svg/>",
        "<!DOCTYPE svg 'a'><svg/>",
        "<!DOCTYPE svg SYSTEM 'a>'b><svg/>",
        "<svg><g id='a' ID='b'/></svg>",
        "<svg><g x:a='b'/></svg>",
        "<svg><g xmlns:x='a'/><g x:a='b'/></svg>",
        "<svg xmlns:x='a' xmlns:y='a'><g x:b='' y:b=''/></svg>",
        "<svg xmlns:x=''/>",
        "<svg xmlns:xml='a'/>",
        "<svg XMLNS='http://www.w3.org/2000/svg'/>",
        "<svg 1='a'/>",
        "<svg :a='b'/>",
        "<svg x:='b' xmlns:x='a'/>",
        "<svg x:y:z='b' xmlns:x='a'/>",
        "<svg \xc3\xa4='b'/>",
        "<svg><g\xc2\xa0/></svg>",
        "<svg>\xef\xbf\xbf</svg>",
        "<svg>\xed\xa0\x80</svg>",
        "<svg>\xc0\xbcscript></svg>",
        "<svg><g></G></svg>",
        "<SVG/>",
        "<svg><g / ></svg>",
        "<svg/ id='a'>",
        "<svg><g/></svg ></svg>",
    };
    for (const char* icon : icons)
        EXPECT_TRUE(safeSvg(icon).isEmpty()) << icon;
    EXPECT_TRUE(safeSvg(String(std::string_view("<svg>\0</svg>", 12))).isEmpty());
}

TEST(SafeSvg, PrologsOfXml_AreCutOff) {
    for (const char* prolog :
         {"\xef\xbb\xbf", "<?xml version='1.0' encoding=\"Utf-8\" standalone = 'no' ?>\n",
          "<!DOCTYPE svg>", "<!DOCTYPE svg SYSTEM 'a>b' >", "<!--a--><!DOCTYPE svg><!--b-->"})
        EXPECT_EQ(safeSvg(prolog + inSvg("")), inSvg("")) << prolog;
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
