#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Verifies the documents of a table with Spark, a worker process a task.
Usage: spark-submit --py-files worker.py spark_verify.py TABLE FOLDER

TABLE is Parquet with the columns `name` and `document` (octets); FOLDER gets Parquet with `name`, `status`, `report`.
"""

import itertools
import sys

from worker import Worker

SCHEMA = "name string, status string, report string"
ROWS = 1000  # of one frame of answers


def verify_frames(frames):
    """For mapInPandas: what a task is given, through one worker. Neither the frames nor the answers are ever held all together."""
    import json
    import pandas
    documents = ((name, bytes(document)) for frame in frames for name, document in zip(frame["name"], frame["document"]))
    answers = Worker("--jobs", "1").answers(documents)
    while rows := list(itertools.islice(answers, ROWS)):
        yield pandas.DataFrame([(name, answer["status"], json.dumps(answer)) for name, answer in rows], columns=["name", "status", "report"])


def main():
    from pyspark.sql import SparkSession
    spark = SparkSession.builder.appName("verify").getOrCreate()
    # Spark writes what a task that runs twice has made once, and a task is what is lost with a machine.
    spark.read.parquet(sys.argv[1]).mapInPandas(verify_frames, SCHEMA).write.mode("overwrite").parquet(sys.argv[2])


if __name__ == "__main__":
    main()
