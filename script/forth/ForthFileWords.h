#pragma once
#include "script/forth/pcode.h"

// File access. A file handle is a positive integer cell; an access method is 0 (R/O), 1 (W/O),
// 2 (R/W) or 3 (write-only appending), plus 4 for BIN. Names are string cells. Results are
// I/O result codes (0 or a negative throw code), never exceptions, as the standard has it.
class FBin final : public PNative { public: void run(ScriptEngine &engine) override; };
class FCloseFile final : public PNative { public: void run(ScriptEngine &engine) override; };
class FCreateFile final : public PNative { public: void run(ScriptEngine &engine) override; };
class FDeleteFile final : public PNative { public: void run(ScriptEngine &engine) override; };
class FFilePosition final : public PNative { public: void run(ScriptEngine &engine) override; };
class FIncludeFile final : public PNative { public: void run(ScriptEngine &engine) override; };
class FIncluded final : public PNative { public: void run(ScriptEngine &engine) override; };
class FOpenFile final : public PNative { public: void run(ScriptEngine &engine) override; };
class FRO final : public PNative { public: void run(ScriptEngine &engine) override; };
class FRW final : public PNative { public: void run(ScriptEngine &engine) override; };
class FReadFile final : public PNative { public: void run(ScriptEngine &engine) override; };
class FReadLine final : public PNative { public: void run(ScriptEngine &engine) override; };
class FRepositionFile final : public PNative { public: void run(ScriptEngine &engine) override; };
class FResizeFile final : public PNative { public: void run(ScriptEngine &engine) override; };
class FWO final : public PNative { public: void run(ScriptEngine &engine) override; };
class FWriteFile final : public PNative { public: void run(ScriptEngine &engine) override; };
class FWriteLine final : public PNative { public: void run(ScriptEngine &engine) override; };
class FInclude final : public PNative { public: void run(ScriptEngine &engine) override; };
