// SPDX-License-Identifier: MIT
#include "dsig/html/style.h"

#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/StringBuffer.h"

#include <set>
#include <string_view>

namespace vantrel::dsig::html {

namespace {

// Three sets of the same names: light, dark, and one for paper that stays light. Text keeps its
// contrast in each (Web Content Accessibility Guidelines 2.1, 1.4.3), and no difference is told by
// colour alone.
constexpr std::string_view kColoursOfScheme =
    R"(:root{color-scheme:light dark;--bg:#fff;--fg:#1b1f24;--dim:#59636e;--line:#d1d9e0;--card:#f6f8fa;
--good:#1a7f37;--bad:#c4212b;--note:#8a5a00;--goodbg:#dff5e3;--badbg:#ffe4e2;--notebg:#fff3d1;
--un:#ffeab0;--br:#ffc9c5;--vo:#e3e6ea;--ex:#f6d0e4;
--c0:#c3ebca;--c1:#c4dcff;--c2:#e3d0fa;--c3:#bdecee;--c4:#dfe29c;--c5:#f3cfb4;--c6:#d3d8dd}
@media(prefers-color-scheme:dark){:root{--bg:#0d1117;--fg:#e6edf3;--dim:#9aa4af;--line:#3d444d;--card:#161c24;
--good:#4cc864;--bad:#ff7b72;--note:#e3b341;--goodbg:#10301a;--badbg:#41181b;--notebg:#3a2c07;
--un:#5c4500;--br:#7d2226;--vo:#343b43;--ex:#5c2144;
--c0:#174d27;--c1:#143d72;--c2:#472a72;--c3:#0e5156;--c4:#494c12;--c5:#5b3618;--c6:#3b424a}}
@media print{:root{color-scheme:light;--bg:#fff;--fg:#000;--dim:#444;--line:#999;--card:#fff;
--good:#0b5c22;--bad:#a0111b;--note:#6b4600;--goodbg:#dff5e3;--badbg:#ffe4e2;--notebg:#fff3d1;
--un:#ffeab0;--br:#ffc9c5;--vo:#e3e6ea;--ex:#f6d0e4;
--c0:#c3ebca;--c1:#c4dcff;--c2:#e3d0fa;--c3:#bdecee;--c4:#dfe29c;--c5:#f3cfb4;--c6:#d3d8dd}}
)";

// No font, image or script is loaded from anywhere: the policy would forbid it. Line numbers are
// attributes and not text, so that a copied text is the document's own.
constexpr std::string_view kLayout =
    R"(*{box-sizing:border-box}
html{-webkit-text-size-adjust:100%}
body{margin:0;background:var(--bg);color:var(--fg);font:16px/1.5 system-ui,-apple-system,"Segoe UI",Roboto,sans-serif;overflow-wrap:anywhere;
print-color-adjust:exact;-webkit-print-color-adjust:exact}
header,main,footer{max-width:72rem;margin:0 auto;padding:0 1.25rem}
header{padding-top:1.5rem}
.verdict{border-left:.5rem solid;border-radius:.4rem;padding:.9rem 1.1rem;margin-bottom:1.25rem}
.verdict h1{font-size:1.7rem;line-height:1.2;margin:0}
.verdict p{margin:.35rem 0 0;color:var(--fg)}
.good{color:var(--good)}.bad{color:var(--bad)}.note{color:var(--note)}
.verdict.good{background:var(--goodbg);border-color:var(--good)}
.verdict.bad{background:var(--badbg);border-color:var(--bad)}
.verdict.note{background:var(--notebg);border-color:var(--note)}
h2{font-size:1.15rem;margin:1.75rem 0 .6rem}
a{color:inherit;text-decoration-style:dotted;text-underline-offset:.15em}
.card{border:1px solid var(--line);border-radius:.4rem;background:var(--card);margin:0 0 1rem;padding:.8rem 1rem;break-inside:avoid-page}
.card h2{margin:0 0 .6rem;display:flex;flex-wrap:wrap;gap:.3rem .6rem;align-items:center}
dl{display:grid;grid-template-columns:8rem minmax(0,1fr);gap:.3rem 1rem;margin:0}
dt{color:var(--dim)}dd{margin:0;min-width:0}
dd p{margin:0}dd p+p{margin-top:.25rem}
.dim{color:var(--dim)}
code{font:.85em/1.4 ui-monospace,SFMono-Regular,Menlo,Consolas,"DejaVu Sans Mono",monospace}
ul{margin:0;padding-left:1.1rem}
ul.legend{list-style:none;padding:0;display:flex;flex-wrap:wrap;gap:.35rem 1rem;margin:0 0 .7rem;font-size:.88rem}
.sw{display:inline-block;border-radius:.2rem;padding:0 .45rem}
.doc{border:1px solid var(--line);border-radius:.4rem;padding:.5rem 0;font:13px/1.55 ui-monospace,SFMono-Regular,Menlo,Consolas,"DejaVu Sans Mono",monospace;tab-size:4}
.l{position:relative;padding:0 .8rem 0 4.2rem;white-space:pre-wrap;min-height:1.55em}
.l[data-n]::before{content:attr(data-n);position:absolute;left:0;width:3.4rem;text-align:right;color:var(--dim);font-size:.85em;user-select:none;overflow-wrap:normal}
.l span,.l del{border-radius:.15rem;-webkit-box-decoration-break:clone;box-decoration-break:clone;padding:.1em 0}
.l i,.sw i{font-style:normal;opacity:.72}
.l em,.sw em{font-style:italic;color:var(--dim);background:var(--bg)}
.br{background:var(--br)}
.un{background:var(--un)}
.vo{background:var(--vo)}
.ex{background:var(--ex);text-decoration:line-through;text-decoration-thickness:1px}
.xx{text-decoration:underline wavy var(--note)}
.sg,.pr{color:var(--dim)}
.x,.o{font:600 .78em/1 ui-monospace,Menlo,Consolas,monospace;border:1px solid;border-radius:.2rem;padding:0 .25em;margin:0 .1em;color:var(--bad);background:var(--bg)}
.o{color:var(--dim);font-weight:400}
.k{font:600 11px/1.5 system-ui,sans-serif;border-radius:.25rem;padding:0 .4em;margin:0 .25em 0 0;color:var(--bg);background:var(--dim);user-select:none;white-space:nowrap;display:inline-block;text-decoration:none}
a.k:hover{text-decoration:underline}
.k.bad{background:var(--bad);color:var(--bg)}.k.note{background:var(--note);color:var(--bg)}.k.good{background:var(--good);color:var(--bg)}
.gap{margin:.4rem .8rem;padding:.3rem .8rem;border:1px dashed var(--line);border-radius:.3rem;color:var(--dim);font-family:system-ui,sans-serif}
a[id]:target{outline:.25rem solid var(--note)}.card:target{outline:2px solid var(--note)}
footer{color:var(--dim);font-size:.85rem;padding-top:1rem;padding-bottom:2rem}
@media(max-width:40rem){body{font-size:15px}header,main,footer{padding-left:.75rem;padding-right:.75rem}
dl{grid-template-columns:minmax(0,1fr);gap:0}dd{margin-bottom:.45rem}
.doc{font-size:12px;border-left:0;border-right:0;border-radius:0;margin:0 -.75rem}
.l{padding:0 .5rem 0 2.6rem}.l[data-n]::before{width:2.2rem}
.gap{margin:.4rem .5rem}}
@media print{body{font-size:10pt}.doc{font-size:7.5pt;border:0}.verdict,.card{border:1px solid var(--line)}
header,main,footer{max-width:none;padding:0}h2{break-after:avoid}}
)";

constexpr std::size_t kSteps = 12; // of indentation, as the view of the document has them

// One band for each colour that covers the stretch. Bands and not a mixture: the eye finds both
// colours again.
std::string background(unsigned colours) {
    // Names of variables and not values, so that one rule fits light, dark and paper.
    std::string names[kColours];
    std::size_t count = 0;
    for (std::size_t i = 0; i < kColours; ++i) {
        if ((colours >> i & 1U) != 0) {
            names[count++] = "var(--c" + std::to_string(i) + ")";
        }
    }
    if (count == 1) {
        return names[0];
    }
    std::string bands = "linear-gradient(";
    for (std::size_t i = 0; i < count; ++i) {
        bands += (i > 0 ? "," : "") + names[i] + " " + std::to_string(i * 100 / count) + "% " +
                 std::to_string((i + 1) * 100 / count) + "%";
    }
    return bands + ")";
}

} // namespace

// Written by a loop, since each step is a rule of its own.
std::string styleSheet(std::span<const Stretch> stretches) {
    std::string css(kColoursOfScheme);
    css += kLayout;
    for (std::size_t step = 0; step <= kSteps; ++step) {
        css += ".d" + std::to_string(step) + "{padding-left:calc(4.2rem + " + std::to_string(step) +
               "ch)}";
    }
    css += "\n@media(max-width:40rem){";
    for (std::size_t step = 0; step <= kSteps; ++step) {
        css += ".d" + std::to_string(step) + "{padding-left:calc(2.6rem + " +
               std::to_string(step / 2) + "ch)}";
    }
    css += "}\n";
    // As bits: a stretch under two signatures has a class and a rule of its own.
    std::set<unsigned> used;
    // The single colours are there for the legend and the cards, even where the text has none of
    // them.
    for (std::size_t i = 0; i < kColours; ++i) {
        used.insert(1U << i);
    }
    for (const Stretch& stretch : stretches) {
        used.insert(stretch.standing.covered);
    }
    used.erase(0);
    for (const unsigned colours : used) {
        css += ".m" + std::to_string(colours) + "{background:" + background(colours) + "}";
    }
    return css;
}

std::string securityPolicy(const std::string& styleSheet) {
    // The hash is of the octets between the tags of the style element, which the page writes
    // unchanged.
    DataBuffer digest;
    _vlHash::doHash(styleSheet.data(), static_cast<std::uint32_t>(styleSheet.size()), kHashSha256,
                    digest);
    StringBuffer base64;
    digest.encodeDB("base64", base64);
    return "default-src 'none'; style-src 'sha256-" + std::string(base64.view()) +
           "'; base-uri 'none'; form-action 'none'";
}

} // namespace vantrel::dsig::html
