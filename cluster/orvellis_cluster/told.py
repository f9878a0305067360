"""Sentences for a person, and the texts of others in them."""

from __future__ import annotations

import unicodedata


class Failure(Exception):
    """Ends the run with a sentence."""


def harmless(text: str) -> str:
    """A text of which a terminal writes one line from left to right: controls and what turns the direction
    become question marks, as do bytes that were no text."""
    return "".join("?" if unicodedata.category(c) in ("Cc", "Cf", "Cs", "Zl", "Zp") else c for c in text)


def things(number: int, one: str, many: str) -> str:
    """"1 piece", "1,200 pieces"."""
    return f"{number:,} {one if number == 1 else many}"
