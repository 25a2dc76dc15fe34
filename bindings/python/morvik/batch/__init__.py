"""Many pictures on one machine or many: ``python3 -m morvik.batch --help``.

``job`` does one picture and knows nothing of Dask, ``pictures`` reads and writes, ``engine`` keeps a
cluster busy.
"""
