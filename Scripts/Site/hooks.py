"""What the site has beyond mkdocs: its home page, links from the guide to the reference, the reference, and a search
that needs no server."""

import json
import pathlib
import sys
import types

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import bars  # noqa: E402
import guide as guides  # noqa: E402
from model import Reference  # noqa: E402
from pages import Pages  # noqa: E402
from words import code_block  # noqa: E402

HOME = "Docs/Home.md"
EXPLAINING = ("First steps", "Guide", "Look it up")

state = types.SimpleNamespace()


def on_config(config):
    state.guide = guides.Guide()
    state.reference = Reference(pathlib.Path("build/reference/xml"))
    state.pages = Pages(state.reference, state.guide)
    state.sections = []
    for path in sorted(pathlib.Path("Examples").rglob("*.cpp")):
        state.guide.add_program(str(path), path.read_text(encoding="utf-8"), code_block)
    return config


def on_files(files, config):
    """The home page is not the README, which is for readers of the tree."""
    for source, target in ((HOME, "index.html"), ("README.md", "README.html")):
        file = files.get_file_from_path(source)
        file.dest_path = file.url = target
        file.abs_dest_path = str(pathlib.Path(config["site_dir"]) / target)
    return files


def on_nav(nav, config, files):
    state.nav = nav
    return nav


def on_env(env, config, files):
    state.env = env
    return env


def on_page_markdown(markdown, page, config, files):
    return bars.with_bars(markdown, pathlib.Path(page.file.abs_src_path).parent)


def section_of(page):
    return page.ancestors[-1].title if page.ancestors else ""


def on_page_content(content, page, config, files):
    found = list(guides.sections(page.title or "", page.url, content))
    for section in found:
        state.sections.append((section_of(page) or "Guide", section))
        if section_of(page) in EXPLAINING:
            state.guide.add(section)
    up = "../" * page.url.count("/")

    def url_named(text):
        url = state.pages.names.url_named(text)
        return url and f"{up}reference/{url}"

    return guides.with_links(content, url_named)


def render(folder, config, template, name, title, **values):
    page = types.SimpleNamespace(title=title, url=f"reference/{name}", toc=[], meta={}, is_homepage=False,
                                 previous_page=None, next_page=None, ancestors=[])
    text = state.env.get_template(template).render(page=page, nav=state.nav, config=config, base_url="..", **values)
    (folder / name).write_text(text, encoding="utf-8")


def write_reference(config):
    folder = pathlib.Path(config["site_dir"]) / "reference"
    folder.mkdir(exist_ok=True)
    pages, entries = state.pages, []
    render(folder, config, "reference.html", "index.html", "Reference", overview=pages.overview())
    for compound in state.reference.types:
        shown = pages.type(compound)
        render(folder, config, "type.html", pages.url(compound), shown["name"], type=shown)
        members = [member["name"] for group in shown["groups"] for member in group["members"]]
        members += [value["name"] for value in shown["cases"]]
        entries.append(entry("Reference", compound.namespace(), compound.short_name, f"reference/{pages.url(compound)}",
                             guides.plain(shown["first"]) + " " + " ".join(members)))
    spaces = [(pages.url(each), pages.namespace(each)) for each in state.reference.namespaces]
    for url, shown in [*spaces, ("macros.html", pages.macros())]:
        render(folder, config, "namespace.html", url, shown["name"], namespace=shown)
        for group in shown["groups"]:
            for member in group["members"]:
                entries.append(entry("Reference", shown["name"], member["name"], f"reference/{url}#{member['anchor']}",
                                     guides.plain(member["entries"][0]["first"])))
    return entries


def entry(kind, page, title, url, text):
    return {"k": kind, "p": page, "t": title, "u": url, "x": text}


def on_post_build(config):
    entries = [entry(kind, each.title, each.heading, each.url, guides.plain(each.content))
               for kind, each in state.sections]
    entries += write_reference(config)
    # A script, not a file of data: pages that are opened from a file may load only scripts.
    text = json.dumps(entries, ensure_ascii=False, separators=(",", ":"))
    (pathlib.Path(config["site_dir"]) / "search-index.js").write_text(f"window.searchIndex={text};\n", encoding="utf-8")
    missing = state.pages.without_example
    print(f"reference: {len(state.reference.types)} types, {len(missing)} of them without an example")
