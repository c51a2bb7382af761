"""Why a module cannot do what it was asked for."""


class Failure(Exception):
    """Its text is the module's message, its details stand beside that in the module's result."""

    def __init__(self, message, **details):
        super().__init__(message)
        self.details = details
