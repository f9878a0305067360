// Built-in search engine definitions.
