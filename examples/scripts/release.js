// Builds the firmware, checks the version compiled into it, and writes a release image: a
// 16-byte header (magic, version, CRC-32 of the payload, payload length) before the program.
var version = 0x00010203;
var headerSize = 16;
var elf = "Output/Debug/Exe/firmware.elf";
var image = "Output/firmware-release.bin";

if (!Build.buildSolution())
    throw new Error("build failed");

var built = Debug.evaluate("firmware_version");
if (built != version)
    throw new Error("firmware_version is " + built + ", the release is " + version);
Debug.print("firmware_version", "x");
Debug.print("boot_count");

BinaryFile.resize(headerSize, 0);
BinaryFile.loadAppend(elf);
var payload = BinaryFile.length() - headerSize;
var crc = BinaryFile.crc32(headerSize, payload);
BinaryFile.pokeUint32(0, 0x5452454C, false);   // "TREL" in file order
BinaryFile.pokeUint32(4, version);
BinaryFile.pokeUint32(8, crc);
BinaryFile.pokeUint32(12, payload);
BinaryFile.save(image);

// Read the saved image back and check the stamp.
BinaryFile.load(image);
if (BinaryFile.peekUint32(8) != BinaryFile.crc32(headerSize, BinaryFile.length() - headerSize))
    throw new Error("the saved image does not match its CRC-32");
WScript.Echo("release image " + image + ": " + payload + " bytes, version " + version.toString(16)
             + ", crc32 " + crc.toString(16));
