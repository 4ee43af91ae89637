"""The measurement of each name: it gives rows of the table."""

from collections.abc import Callable

import growth_rows
import helper_rows
import transfer_rows
from context import Bench
from table import Row

MEASUREMENTS: dict[str, Callable[[Bench], list[Row]]] = {
    "transfer": transfer_rows.transfer,
    "question": helper_rows.question,
    "other-links": helper_rows.other_links,
    "loading": helper_rows.loading,
    "memory": transfer_rows.memory,
    "silence": transfer_rows.silence,
    "unique-name": growth_rows.unique_name,
    "listing": growth_rows.listing,
    "adding": growth_rows.adding,
}
