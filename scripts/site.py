#!/usr/bin/env python3
"""Renders the documents as pages of the site and checks every link of it. See site.sh."""

import argparse
import html
import re
import shutil
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urldefrag

import markdown

import plots

NAVIGATION = [("index.html", "Morvik"), ("studio/index.html", "Studio"), ("guide.html", "C and C++"),
              ("python.html", "Python"), ("web.html", "JavaScript"), ("demo/index.html", "Gallery"),
              ("sharp-edges.html", "Sharp edges"), ("landmarks.html", "Landmarks"),
              ("reference/morvik_8h.html", "Reference"), ("benchmarks.html", "Benchmarks")]
PAGE = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{title}</title>
<link rel="icon" href="{root}studio/icon.svg">
<link rel="stylesheet" href="{root}studio/style.css">
<script type="module" src="{root}studio/compare.js"></script>
</head>
<body class="page">
<header>{navigation}</header>
<main>
{body}
</main>
</body>
</html>
"""
FIRST = """<div class="first">
<div><h1>Morvik</h1>
<p class="lead">Image processing for faces and segmentation masks: smooth edges, stickers, outlines, foreheads. C functions
on pixel memory that you own, with results fixed to the byte; for C, C++, Python and JavaScript.</p>
<p><a class="button first-choice" href="studio/index.html">Try it in the studio</a> <a class="button" href="guide.html">Read the guide</a></p>
<p class="small">The studio runs in this browser; photographs stay on your machine.</p></div>
<figure class="compare"><img src="pictures/photo.jpg" alt="A photograph of a naval officer" width="256" height="300">
<img class="after" src="pictures/sticker.png" alt="The same as a sticker with a yellow border" width="256" height="300">
<input type="range" min="0" max="100" value="50" aria-label="Before and after: share of the photograph"></figure>
</div>
"""


def navigation(root, shown):
    here = {shown: ' aria-current="page"'}
    links = (f'<a href="{root}{address}"{here.get(address, "")}>{name}</a>' for address, name in NAVIGATION)
    return f'<nav aria-label="Site">{" ".join(links)}</nav>'


class Site:
    def __init__(self, out):
        self.out = out
        self.pages = {path: f"{path.stem}.html" for path in sorted(Path("docs").glob("*.md"))}
        self.pages |= {Path("README.md"): "index.html", Path("samples/README.md"): "samples.html"}
        if Path("bindings/web/README.md").exists():
            self.pages[Path("bindings/web/README.md")] = "package.html"
        self.sources = set()  # files of the repository that pages link to

    def write(self, address, title, body):
        path = self.out / address
        path.parent.mkdir(parents=True, exist_ok=True)
        root = "../" * address.count("/")
        path.write_text(PAGE.format(title=title, root=root, navigation=navigation(root, address), body=body), encoding="utf-8")

    def address(self, link, page):
        """Where a link of a document leads on the site."""
        target, anchor = urldefrag(link)
        if not target or re.match(r"^[a-z]+:", link):
            return link
        path = Path(Path(page.parent, target).resolve()).relative_to(Path.cwd())
        if path in self.pages:
            address = self.pages[path]
        elif path == Path("include/morvik/morvik.h"):
            address = "reference/morvik_8h.html"
        elif path.is_relative_to("docs/pictures"):
            address = str(path.relative_to("docs"))
        else:
            self.sources.add(path)
            address = f"files/{path}.html"
        return address + (f"#{anchor}" if anchor else "")

    def rendered(self, page):
        text = page.read_text(encoding="utf-8")
        body = markdown.markdown(text, extensions=["tables", "fenced_code", "toc", "sane_lists"])
        body = re.sub(r'(href|src)="([^"]*)"', lambda m: f'{m[1]}="{self.address(html.unescape(m[2]), page)}"', body)
        body = body.replace("<table>", '<div class="wide"><table>').replace("</table>", "</table></div>")
        return re.sub(r"<pre>", '<pre tabindex="0">', body)

    def write_documents(self):
        for page, address in self.pages.items():
            if address == "index.html":
                continue
            body = self.rendered(page)
            if page.name == "benchmarks.md":
                shown = plots.all_plots(Path("README.md").read_text(encoding="utf-8"), page.read_text(encoding="utf-8"))
                body = body.replace("<h2", shown + "<h2", 1)
            title = re.search(r"<h1[^>]*>(.*?)</h1>", body)
            self.write(address, f"{re.sub('<.*?>', '', title[1])} · Morvik" if title else "Morvik", body)

    def lead_back(self):
        """Doxygen's pages know nothing of the site around them."""
        for page in (self.out / "reference").glob("*.html"):
            text = page.read_text(encoding="utf-8")
            name = '<div id="projectname">Morvik'
            page.write_text(text.replace(name, name.replace("Morvik", '<a href="../index.html">Morvik</a>')), encoding="utf-8")

    def write_first(self):
        """The README under a photograph before and after, which says what the README's first lines say."""
        body = self.rendered(Path("README.md"))
        self.write("index.html", "Morvik", FIRST + re.sub(r"<h1.*?</p>", "", body, count=1, flags=re.DOTALL))

    def write_sources(self):
        done = set()
        while left := self.sources - done:
            for path in sorted(left):
                done.add(path)
                if not path.exists():
                    continue  # the check of the links says so
                if path.is_dir():
                    files = sorted(entry for entry in path.iterdir() if entry.is_file())
                    self.sources.update(files)
                    body = "".join(f'<li><a href="{path.name}/{file.name}.html">{file.name}</a></li>' for file in files)
                    body = f"<ul>{body}</ul>"
                else:
                    body = f'<pre tabindex="0">{html.escape(path.read_text(encoding="utf-8"))}</pre>'
                self.write(f"files/{path}.html", f"{path} · Morvik", f"<h1>{path}</h1>{body}")


class Links(HTMLParser):
    """What a page refers to, and the anchors it has."""

    def __init__(self):
        super().__init__()
        self.links, self.loads, self.anchors = [], [], set()

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        self.anchors |= {values[name] for name in ("id", "name") if values.get(name)}
        if tag == "a" and "href" in values:
            self.links.append(values["href"])
        for name in ("src", "poster", "srcset"):
            self.loads += [values[name]] if values.get(name) else []
        if tag == "link" and "href" in values:
            self.loads.append(values["href"])


def faults(out):
    """Sentences about links that lead nowhere and about what would be loaded from elsewhere."""
    pages = {}
    for path in sorted(out.rglob("*.html")):
        pages[path.resolve()] = Links()
        pages[path.resolve()].feed(path.read_text(encoding="utf-8"))
    for path, page in pages.items():
        shown = path.relative_to(out.resolve())
        for link in page.loads + page.links:
            if re.match(r"^(data|mailto|javascript):", link):
                continue
            if re.match(r"^([a-z]+:)?//", link):
                if link in page.loads:
                    yield f"{shown}: {link} would be loaded from elsewhere"
                continue
            address, anchor = urldefrag(unquote(link))
            target = (path.parent / address).resolve() if address else path
            if target.is_dir():
                target /= "index.html"
            if not target.exists():
                yield f"{shown}: {link} is not there"
            elif anchor and target in pages and anchor not in pages[target].anchors:
                yield f"{shown}: {link} has no such place"
    for path in sorted(out.rglob("*.css")):
        for found in re.findall(r"(?:url\(|@import)\s*[\"']?((?:https?:)?//[^\"')]+)", path.read_text(encoding="utf-8")):
            yield f"{path.relative_to(out)}: {found} would be loaded from elsewhere"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("out", type=Path)
    out = parser.parse_args().out
    site = Site(out)
    shutil.copytree("docs/pictures", out / "pictures", dirs_exist_ok=True)
    site.write_first()
    site.write_documents()
    site.write_sources()
    site.lead_back()
    studio = out / "studio/index.html"
    studio.write_text(studio.read_text(encoding="utf-8").replace("<!-- navigation of the site -->", navigation("../", "studio/index.html")), encoding="utf-8")
    found = list(faults(out))
    print("\n".join(found) or f"{sum(1 for _ in out.rglob('*.html'))} pages, no broken link, nothing from elsewhere")
    return 1 if found else 0


if __name__ == "__main__":
    raise SystemExit(main())
