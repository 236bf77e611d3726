# Sends an image to the board's boot loader.
import serial

def send(port, data, block=256):
    """Writes data in blocks
    and waits for each acknowledgement."""
    for offset in range(0, len(data), block):
        port.write(data[offset:offset + block])
        if port.read(1) != b'\x06':
            raise IOError("no acknowledgement at %d" % offset)
    return True
