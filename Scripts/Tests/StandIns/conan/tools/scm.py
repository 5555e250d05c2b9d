class Version:
    def __init__(self, text):
        self.parts = [int(part) for part in str(text).split(".")]

    def __lt__(self, other):
        return self.parts < Version(other).parts if isinstance(other, str) else self.parts < other.parts
