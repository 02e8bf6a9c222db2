"""A catalogue of archives: one row per file and per node, in a SQLite database. docs/catalog.md is its guide.

The parts: files.py finds files, rows.py opens one and makes its rows, pool.py does that in worker processes, cluster.py
on a Dask cluster, store.py keeps the rows, queries.py asks for them, page.py shows them, cli.py is the command line.

Only a worker imports quovel_adapter, so that a run that finds nothing to do takes no time for it.
"""
