"""COMTRADE records read back: ``kvdata.comtrade.read(path)`` gives a :class:`Record` whose
sample arrays are views of the record as the library read it.

Writing a record is a sequence's business: :meth:`kvdata.Sequence.write_comtrade`.
"""

from ._records import (
    AnalogChannel,
    Components,
    CyclePhasors,
    DigitalChannel,
    PhaseGroup,
    PhasorsAtTime,
    Record,
    from_bytes,
    from_cff,
    read,
)

__all__ = ["AnalogChannel", "Components", "CyclePhasors", "DigitalChannel", "PhaseGroup", "PhasorsAtTime",
           "Record", "from_bytes", "from_cff", "read"]
