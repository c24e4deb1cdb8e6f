/**
 * @file fillField.h
 * Texts in fields of a fixed width.
 */
#ifndef FILL_FIELD_H
#define FILL_FIELD_H

#include <cstddef>

/**
 * Copies a text up to its zero, at most `width` characters, and fills the rest of the field with zeros. A text that
 * takes up the whole field has no zero behind it.
 */
void fillField(char *pField, size_t width, const char *pText);

#endif
