#pragma once

// Marks what a platform library exports; everything else in it is hidden.
#define KZM_API __attribute__((visibility("default")))
