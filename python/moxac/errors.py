"""Statuses as exceptions."""
from ._generated import STATUSES


class MoxacError(Exception):
    """An operation of the library refused its arguments or its data.

    status     the number it returned
    name       the status's name in the C headers, "moxStatusBadSize"
    sentence   what the headers say of it
    operation  the C function
    """

    def __init__(self, status: int, operation: str):
        self.status = status
        self.operation = operation
        self.name, self.sentence = STATUSES.get(status, (f"status {status}", "unknown"))
        super().__init__(f"{operation}: {self.name} ({self.sentence})")

    def __reduce__(self):
        return type(self), (self.status, self.operation)
