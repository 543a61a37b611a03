#include "catalogue/config_keys.h"

#include <cstdio>
#include <cstring>

#include "catalogue/config_tree.h"

namespace {

ConfigNode* FindKey(ConfigTree* tree, const KeyPlace& place, const ConfigKey& key)
{
    ConfigNode* node = ConfigRoot(tree);
    for (const char* const* name = place.path; *name != nullptr; ++name) {
        node = ConfigMember(node, *name);
    }
    if (key.ofPair) node = ConfigMember(node, place.pair);
    node = ConfigMember(node, key.name);
    return key.element == NoElement ? node : ConfigElement(node, key.element);
}

// Integers are 16 bits wide unless told otherwise.
uint16_t* IntegerField(const ConfigKey& key, void* record)
{
    return reinterpret_cast<uint16_t*>(static_cast<char*>(record) + key.offset);
}

int32_t* WideField(const ConfigKey& key, void* record)
{
    return reinterpret_cast<int32_t*>(static_cast<char*>(record) + key.offset);
}

double* FloatField(const ConfigKey& key, void* record)
{
    return reinterpret_cast<double*>(static_cast<char*>(record) + key.offset);
}

char* TextField(const ConfigKey& key, void* record)
{
    return static_cast<char*>(record) + key.offset;
}

void LoadText(const char* text, char* field)
{
    memset(field, 0, KeyTextRoom);
    if (text != nullptr) snprintf(field, KeyTextRoom, "%s", text);
}

void LoadKey(const ConfigKey& key, ConfigNode* node, void* record)
{
    const uint32_t value = static_cast<uint32_t>(ConfigInt(node));
    switch (key.kind) {
    case KeySigned16:
    case KeyUnsigned16: *IntegerField(key, record) = static_cast<uint16_t>(value); break;
    case KeyLowByte: {
        uint16_t* field = IntegerField(key, record);
        *field = static_cast<uint16_t>((*field & 0xFF00) | (value & 0xFF));
        break;
    }
    case KeyHighByte: {
        uint16_t* field = IntegerField(key, record);
        *field = static_cast<uint16_t>((*field & 0xFF) | (value & 0xFF) << 8);
        break;
    }
    case KeyInt32: *WideField(key, record) = static_cast<int32_t>(value); break;
    case KeyFloat: *FloatField(key, record) = ConfigFloat(node); break;
    case KeyText: LoadText(ConfigText(node), TextField(key, record)); break;
    }
}

int32_t IntegerToSave(const ConfigKey& key, void* record)
{
    switch (key.kind) {
    case KeySigned16: return static_cast<int16_t>(*IntegerField(key, record));
    case KeyUnsigned16: return *IntegerField(key, record);
    case KeyLowByte: return *IntegerField(key, record) & 0xFF;
    case KeyHighByte: return *IntegerField(key, record) >> 8;
    default: return *WideField(key, record);
    }
}

bool KeyCanBeSaved(const ConfigKey& key, ConfigNode* node, void* record)
{
    switch (key.kind) {
    case KeyFloat: return ConfigHoldsFloat(node, *FloatField(key, record));
    case KeyText: return ConfigHoldsText(node);
    default: return ConfigHoldsInt(node);
    }
}

void SaveKey(const ConfigKey& key, ConfigNode* node, void* record)
{
    switch (key.kind) {
    case KeyFloat: SetConfigFloat(node, *FloatField(key, record)); break;
    case KeyText:
        // The list is emptied by every save: required.
        memset(TextField(key, record), 0, KeyTextRoom);
        SetConfigText(node, "");
        break;
    default: SetConfigInt(node, IntegerToSave(key, record)); break;
    }
}

bool CanBeSaved(ConfigTree* tree, const KeyPlace& place, const ConfigKey* keys, void* record)
{
    if (!ConfigIsWritable(tree)) return false;
    for (const ConfigKey* key = keys; key->name != nullptr; ++key) {
        if (!KeyCanBeSaved(*key, FindKey(tree, place, *key), record)) return false;
    }
    return true;
}

} // namespace

FileStatus LoadKeys(const char* file, const KeyPlace& place, const ConfigKey* keys, void* record)
{
    ConfigTree tree;
    const FileStatus status = OpenConfigTree(file, &tree);
    if (status != FileDone) return status;
    for (const ConfigKey* key = keys; key->name != nullptr; ++key) {
        LoadKey(*key, FindKey(&tree, place, *key), record);
    }
    CloseConfigTree(&tree);
    return FileDone;
}

FileStatus SaveKeys(const char* file, const KeyPlace& place, const ConfigKey* keys, void* record)
{
    ConfigTree tree;
    FileStatus status = OpenConfigTree(file, &tree);
    if (status != FileDone) return status;
    if (!CanBeSaved(&tree, place, keys, record)) {
        CloseConfigTree(&tree);
        return FileNotParsed;
    }
    for (const ConfigKey* key = keys; key->name != nullptr; ++key) {
        // Sought again for each key: storing one may move its neighbours.
        SaveKey(*key, FindKey(&tree, place, *key), record);
    }
    WriteConfigTree(file, &tree);
    CloseConfigTree(&tree);
    return FileDone;
}
