#!/usr/bin/env python3
"""Draws delivery-path.svg: the way of a translation to a device. Run it after a change; it takes no arguments."""

from pathlib import Path

INK, SOFT, FILL, LINE = "#1f2937", "#6b7280", "#eef2ff", "#4f46e5"
WIDTH, HEIGHT = 880, 330
parts = []


def text(x, y, words, size=13, colour=INK, anchor="middle", weight="normal"):
    parts.append(f'<text x="{x}" y="{y}" font-size="{size}" fill="{colour}" text-anchor="{anchor}" '
                 f'font-weight="{weight}">{words}</text>')


def box(x, y, width, title, *lines):
    height = 34 + 18 * len(lines)
    parts.append(f'<rect x="{x}" y="{y}" width="{width}" height="{height}" rx="8" fill="{FILL}" stroke="{LINE}"/>')
    text(x + width / 2, y + 22, title, 14, weight="bold")
    for number, line in enumerate(lines):
        text(x + width / 2, y + 42 + 18 * number, line, 12, SOFT)


def arrow(x1, y1, x2, y2, label="", below=False):
    parts.append(f'<line x1="{x1}" y1="{y1}" x2="{x2}" y2="{y2}" stroke="{INK}" stroke-width="1.5" '
                 'marker-end="url(#head)"/>')
    if label:
        text((x1 + x2) / 2, (y1 + y2) / 2 + (18 if below else -8), label, 12)


box(20, 50, 170, "project folder", "project.json", "en.xlf  fr.xlf  pl.xlf")
box(300, 50, 190, "delivery tree", "&lt;project&gt;/&lt;version&gt;/", "&lt;locale&gt;/strings.gz")
box(640, 50, 220, "web server", "nginx, Apache, Caddy", "Date, Last-Modified, expiry")
box(640, 220, 220, "device", "strings file, two dates", "decrypts, inflates, shows")
box(300, 220, 190, "CDN, if any", "keeps answers until", "they expire")

arrow(190, 85, 296, 85)
text(243, 74, "pack --tree", 12)
text(243, 103, "check, gzip, AES", 12, SOFT)
arrow(490, 85, 636, 85)
text(563, 74, "one rename a file", 12)
text(563, 103, "replaced as a whole", 12, SOFT)
arrow(710, 216, 710, 126)
text(702, 166, "GET, If-Modified-Since", 12, anchor="end")
text(702, 184, "at a launch: .../force", 12, SOFT, anchor="end")
arrow(800, 126, 800, 216)
text(808, 166, "304", 12, anchor="start")
text(808, 184, "or 200", 12, anchor="start")
arrow(636, 255, 494, 255)
arrow(395, 216, 636, 122)
text(20, 310, "A publication travels when the device asks again: after its expiry, at a launch or a return to the "
     "application.", 12, SOFT, "start")

head = ('<defs><marker id="head" markerWidth="9" markerHeight="9" refX="7" refY="4" orient="auto">'
        f'<path d="M0,0 L8,4 L0,8 z" fill="{INK}"/></marker></defs>')
background = f'<rect width="{WIDTH}" height="{HEIGHT}" rx="10" fill="#ffffff"/>'
svg = (f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{HEIGHT}" '
       f'viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif">\n' + head + background + "\n"
       + "\n".join(parts) + "\n</svg>\n")
Path(__file__).with_suffix(".svg").write_text(svg, encoding="utf-8")
