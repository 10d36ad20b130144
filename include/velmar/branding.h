/* The branding module: a shared object, named by the string value
 * "ActiveBrandDLL" of the machine-wide registry key "Software\Halvane\Kivara",
 * that can hide data factories and tools, turn features on and replace the
 * words that label outing information.
 *
 * The library looks for the file in its own folder first, then by name on
 * the system's search path (dlopen). Every entry point below is optional and
 * looked up by its exact name; one that is absent means "nothing to say":
 * an empty exclusion list, a feature that is off, the library's own label.
 *
 * Lifetime: everything a module hands out (texts, lists) is read right
 * away and must stay valid while the module is loaded; the library never
 * frees it. Texts are UTF-16, ended by a 0 character. Calls come from the
 * host's thread only.
 *
 * A module written in C++ exports them with KIV_BRANDING_EXPORT, e.g.
 *   KIV_BRANDING_EXPORT const char16_t* GetBrandingText(uint32_t id, uint32_t form, uint32_t version);
 */
#ifndef VELMAR_BRANDING_H_
#define VELMAR_BRANDING_H_

#include <stdint.h>
#ifndef __cplusplus
#include <uchar.h>
#endif

#ifdef __cplusplus
#define KIV_BRANDING_EXTERN_C extern "C"
#else
#define KIV_BRANDING_EXTERN_C
#endif
#define KIV_BRANDING_EXPORT KIV_BRANDING_EXTERN_C __attribute__((visibility("default")))

/* The version of this interface; passed to GetBrandingText so that a
 * module can tell what the caller expects. */
#define KIV_BRANDING_INTERFACE_VERSION 5u

/* Label forms asked of GetBrandingText. */
#define KIV_BRANDING_FORM_LOWER 0u         /* all lower case */
#define KIV_BRANDING_FORM_AS_STORED 1u     /* as stored */
#define KIV_BRANDING_FORM_FIRST_UPPER 2u   /* first letter upper case, the rest as stored */

/* Features a module can turn on. 1: the library makes the host-side tool node. */
#define KIV_BRANDING_FEATURE_TOOL_NODE 1u

/* A class identity as laid out in memory (16 bytes). An all-zero identity
 * ends a list. */
typedef struct KivBrandingGuid {
  uint32_t data1;
  uint16_t data2;
  uint16_t data3;
  uint8_t data4[8];
} KivBrandingGuid;

/* The brand's name. Not called by this library. */
typedef const char16_t* (*KivGetBrandingNameFn)(void);
/* The text of a label (ids 0 to 17, see the library's label table) in the
 * given form; `version` is KIV_BRANDING_INTERFACE_VERSION. Null: use the
 * library's own label. */
typedef const char16_t* (*KivGetBrandingTextFn)(uint32_t labelId, uint32_t form, uint32_t version);
/* A picture of the brand. Not called by this library. */
typedef const void* (*KivGetBrandingBitmapFn)(uint32_t which);
/* Non-zero when the feature is on. */
typedef int32_t (*KivFeatureSupportedFn)(uint32_t feature);
/* Controls to hide. Not called by this library. */
typedef const KivBrandingGuid* (*KivGetActiveXControlExclusionListFn)(void);
typedef const char16_t* const* (*KivGetDotNetControlExclusionListFn)(void);
/* Data factory classes to hide, ended by the all-zero identity. Null: none. */
typedef const KivBrandingGuid* (*KivGetDataFactoryExclusionListFn)(void);
/* Managed tool type names to hide (compared case sensitively), ended by a
 * null pointer. Null: none. */
typedef const char16_t* const* (*KivGetToolExclusionListFn)(void);

#endif /* VELMAR_BRANDING_H_ */
