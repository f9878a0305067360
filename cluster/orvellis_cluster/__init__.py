"""One report over logs that many machines count, on the engine of Dask."""

VERSION = "1.5"
