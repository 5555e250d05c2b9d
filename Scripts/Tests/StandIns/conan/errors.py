class ConanException(Exception):
    pass


class ConanInvalidConfiguration(ConanException):
    pass
