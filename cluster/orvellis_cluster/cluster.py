"""The cluster: one that is there, or one over this machine's processors."""

from __future__ import annotations

import importlib
import logging
import os
import warnings
from typing import Any

from .settings import Settings
from .told import Failure


def processors() -> int:
    return len(os.sched_getaffinity(0))


def be_silent() -> None:
    """Dask tells much of what the run tells in a sentence of its own."""
    warnings.simplefilter("ignore")
    logging.disable(logging.CRITICAL)


def patience() -> str | None:
    """How long a scheduler may take to answer at first: what Dask is configured for; nobody waits for half a minute,
    as it would, for an address that was mistyped."""
    dask: Any = importlib.import_module("dask")
    name = "distributed.comm.timeouts.connect"
    told = dask.config.get(name, None, config=dask.config.collect())
    return str(told) if told is not None else "10s"


def connect(settings: Settings) -> Any:
    """A client of the cluster."""
    dask: Any = importlib.import_module("distributed")
    be_silent()
    if not settings.scheduler:
        # Threads are enough: each task is a process of its own.
        local = dask.LocalCluster(
            n_workers=1,
            threads_per_worker=settings.processes or processors(),
            processes=False,
            dashboard_address=None,
            worker_dashboard_address=None,
            memory_limit=0,
            local_directory=os.getcwd(),  # the private folder of the run
        )
        return dask.Client(local, set_as_default=False)
    security = None
    if settings.tls_ca:
        security = dask.Security(
            tls_ca_file=settings.tls_ca,
            tls_client_cert=settings.tls_cert,
            tls_client_key=settings.tls_key,
            require_encryption=True,
        )
    try:
        return dask.Client(settings.scheduler, security=security, set_as_default=False, timeout=patience())
    except Exception as error:
        raise Failure(f"cannot reach the scheduler {settings.scheduler}: {error}") from None
