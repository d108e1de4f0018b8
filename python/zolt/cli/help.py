"""Help that fits one screen: options in groups, a line each."""

import click

_GROUP_WIDTH, _NAME_WIDTH = 9, 26


class Option(click.Option):
    """An option that belongs to a group of the help; one `beside` another stands on its line."""

    def __init__(self, *arguments, group="Other", beside=False, **settings):
        self.group, self.beside = group, beside
        super().__init__(*arguments, **settings)

    @property
    def line(self):
        """Name and value, what it is for, and what holds without it."""
        name = ", ".join(self.opts)
        if not self.is_flag:
            name += " " + (
                self.metavar or "|".join(getattr(self.type, "choices", [])) or self.type.name.upper()
            )
        return name, self.help or ""


class GroupedCommand(click.Command):
    """A command whose help names the group of its options beside them."""

    def format_options(self, ctx, formatter):
        formatter.write("\n")
        for group, name, words in self._lines(ctx):
            formatter.write(f"{group:{_GROUP_WIDTH}}{name:{_NAME_WIDTH}} {words}".rstrip() + "\n")

    def _lines(self, ctx):
        groups = {}
        for option in self.get_params(ctx):
            if isinstance(option, click.Option) and not option.hidden:
                groups.setdefault(getattr(option, "group", "Other"), []).append(option)
        for group, options in groups.items():
            lines = []
            for option in options:
                name, words = (
                    option.line if isinstance(option, Option) else (", ".join(option.opts), option.help)
                )
                if getattr(option, "beside", False):
                    name, words = f"{lines[-1][0]} {name}", f"{lines[-1][1]}{words}"
                    lines.pop()
                lines.append((name, words))
            yield from ((group if i == 0 else "", *line) for i, line in enumerate(lines))
