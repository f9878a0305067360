#include "superlog/field_splitter.h"
void ParseField(FieldCursor&) {}
void ParseField_Tab(FieldCursor&) {}
void ParseField_Comma(FieldCursor&) {}
void ParseFieldBySeparator(FieldCursor&, char) {}
