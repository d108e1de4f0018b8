"""`zolt page`: the page that does the analysis in a browser."""

import webbrowser
from pathlib import Path

import click

from ..page import write_page


@click.command()
@click.argument("path", default="zolt.html", type=click.Path(path_type=Path))
@click.option("--open/--no-open", "show", default=True, help="Open it in the browser.  [default: open]")
def page(path, show):
    """Write the page, one file that does the whole analysis in a browser, to PATH [zolt.html].

    It needs no network and sends nothing: give it to whoever has curves and a browser.
    """
    try:
        written = write_page(path).resolve()
    except OSError as fault:
        raise click.ClickException(str(fault)) from None
    click.echo(f"wrote {written}")
    if show and not webbrowser.open(written.as_uri()):
        click.echo("No browser was found; open the file in one.", err=True)
