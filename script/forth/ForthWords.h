#pragma once

class ScriptEngine;

// Registers the engine's word set, one class per word, in a fixed order.
void registerForthWords(ScriptEngine &engine);
