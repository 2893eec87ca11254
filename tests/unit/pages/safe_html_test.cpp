#include "pages/safe_html.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vornelle {
namespace {

std::string safe(std::string_view source) {
  return safeHtml(source).html;
}

TEST(SafeHtml, KeepsWordsAndTheirLooks) {
  EXPECT_EQ(safe("<p align=center>A &amp; <b>B</b><br>1 < 2 > 0</p>"),
            "<p align=\"center\">A &amp; <b>B</b><br>1 &lt; 2 &gt; 0</p>");
  EXPECT_EQ(safe("<TABLE Border='1'><tr><td style=\"color: red\">x"),
            "<table border=\"1\"><tr><td style=\"color: red\">x");
}

TEST(SafeHtml, LeavesOutWhatRunsLoadsOrAsks) {
  EXPECT_EQ(safe("a<script>alert('<b>')</script>b<style>p{}</style>c<svg><a href=x>y</svg>d"), "abcd");
  EXPECT_EQ(safe("<body onload=x><form action=y><input name=z><p onclick=w id=q class=c>t</form>"), "<p>t");
  EXPECT_EQ(safe("<meta http-equiv=refresh><base href=x><link rel=preconnect><frameset><frame src=x>"), "");
  EXPECT_EQ(safe("a<!-- <b> -->b<!doctype x>c<?php ?>d<![CDATA[x]]>e"), "abcde");
  EXPECT_EQ(safe("a<iframe src=x>y</iframe>b<object data=x><embed src=y></object>c"), "abc");
}

TEST(SafeHtml, ALinkLeadsToTheWebAndKnowsNothingOfThePage) {
  EXPECT_EQ(
      safe("<a href='https://x.example/?a=\"' target=y rel=opener referrerpolicy=unsafe-url ping=z>l</a>"),
      "<a href=\"https://x.example/?a=&quot;\" target=\"_blank\" rel=\"noopener noreferrer\" "
      "referrerpolicy=\"no-referrer\">l</a>");
  for (const char* address : {"javascript:x", "&#106;avascript:x", "//x.example", "/logout.cgi", "logout.cgi",
                              "data:text/html,x", "http&colon;//x", "vbscript:x"}) {
    EXPECT_EQ(safe("<a href=\"" + std::string(address) + "\">l</a>"), "<a>l</a>") << address;
  }
}

TEST(SafeHtml, RemotePicturesAreLeftOutAndCounted) {
  const SafeHtml page = safeHtml(
      "<img src=http://x/1 alt='a <b>'><IMG SRC=//x/2><img src=rel.gif><table background=x>"
      "<img src='cid:1'><img src='data:image/gif;base64,R0lG' width=1 onerror=x>"
      "<img src='data:image/svg+xml,x'>");
  EXPECT_EQ(page.picturesLeftOut, 5);
  EXPECT_EQ(page.html, "[a &lt;b&gt;]<table><img src=\"data:image/gif;base64,R0lG\" alt=\"\" width=\"1\">");
}

TEST(SafeHtml, AStyleNamesNoAddress) {
  for (const char* style : {"background:url(x)", "background:u\\72l(x)", "x:ur&#108;(x)",
                            "list-style-image:x", "position:fixed", "a:u/**/rl(x)"}) {
    EXPECT_EQ(safe("<p style=\"" + std::string(style) + "\">"), "<p>") << style;
  }
}

TEST(SafeHtml, OddTagsEndSomewhere) {
  for (const char* source : {"<", "</", "<a", "<a href", "<a href=", "<a href='x", "<!--", "<!", "<script",
                             "<p/=x/>", "<a\0b>", "<p a=b c='d", "<<b>>", "</p x='", "<script>never"}) {
    const std::string html = safe(source);
    EXPECT_EQ(html.find("<script"), std::string::npos) << source;
  }
  EXPECT_EQ(safe("<<b>x"), "&lt;<b>x");
  EXPECT_EQ(safe("<p title='<script>'>"), "<p title=\"&lt;script&gt;\">");
}

}  // namespace
}  // namespace vornelle
