#include "support/server_kind.h"

namespace {
int g_server_kind = 0;
}  // namespace

int GetServerKind() { return g_server_kind; }

void SetServerKind(int kind) { g_server_kind = kind; }
