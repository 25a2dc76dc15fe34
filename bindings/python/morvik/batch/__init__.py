"""Many pictures on one machine or many: ``python3 -m morvik.batch --help``.

``job`` does one picture and knows nothing of Dask, ``files`` and ``pictures`` read and write, ``engine`` keeps a
cluster busy, ``report`` tells of it.
"""
