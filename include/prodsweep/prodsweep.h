/*
 * prodsweep: which products are on this machine, and how to take them off.
 *
 * The public interface of prodsweep.dll, for C (C99 and later) and C++.
 *
 * The DLL reads two catalogues that lie beside it, "products.xml" (kind 1, the maker's own family)
 * and "detection.xml" (kind 2, other makers' products). Nothing is kept between two calls.
 *
 * COM        Each export sees to COM on the calling thread. Any apartment model will do. A thread
 *            without COM is without it again afterwards, unless shortcuts were read: each of them
 *            leaves one reference behind. On a thread that has COM in the single-threaded model
 *            each call leaves one as well: the caller's last CoUninitialize does not end COM there,
 *            the end of the thread does.
 * Threads    The listing exports may run on any thread. One removal at a time. The DLL makes no
 *            thread of its own. GetProgressPercent may be called from any thread at any moment.
 * Failure    A false result says that something failed; the reason goes to the log (see log.dll).
 *            When a listing export returned false, its array pointer must not be touched.
 * Ownership  Arrays handed out belong to the caller with everything in them. SafeArrayDestroy
 *            alone frees nothing inside, since the arrays carry no feature flags: use
 *            ProdsweepFreeProducts.
 */
#ifndef PRODSWEEP_PRODSWEEP_H
#define PRODSWEEP_PRODSWEEP_H

#include <windows.h>

#include <oleauto.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef PRODSWEEP_BUILD
#define PRODSWEEP_API
#else
#define PRODSWEEP_API __declspec(dllimport)
#endif

#ifdef __cplusplus
extern "C"
{
#endif

    /* Product kinds: ProductEntry.Kind and the kind argument of the removal exports. */
    enum ProdsweepKind
    {
        PRODSWEEP_KIND_OWN = 1,  /* "products.xml", descriptors in the folder "intern" */
        PRODSWEEP_KIND_OTHER = 2 /* "detection.xml", descriptors in the folder "extern" */
    };

    /* Selection flags of the listing exports. Other bits are ignored; without a bit the list is empty. */
    enum ProdsweepFlags
    {
        PRODSWEEP_LIST_OWN = 1,
        PRODSWEEP_LIST_OTHER = 2,
        PRODSWEEP_LIST_ALL = 3
    };

    /* One product. Element of the array of the listing exports, and input of the removal exports. */
    typedef struct ProductEntry
    {
        BSTR Name;         /* the product's name in its catalogue, by which it is selected */
        BSTR File;         /* full path of its uninstall descriptor; not read by the removal exports */
        int32_t Kind;      /* PRODSWEEP_KIND_... */
        int32_t Reserved1; /* zero */
        SAFEARRAY* Guids;  /* null, or an array of BSTR (GetInstalledProducts) or of GuidEntry (...Ex) */
        int32_t Force;     /* removal only: not 0 removes without asking whether it is installed */
        int32_t Reserved2; /* zero */
    } ProductEntry;

    /* One detected version of a product, from GetInstalledProductsEx. */
    typedef struct GuidEntry
    {
        BSTR Guid;           /* the last part of the version's registry key, mostly a product code; may be null */
        SAFEARRAY* Children; /* array of ChildEntry, ascending by name; may be null */
    } GuidEntry;

    /* What the catalogue says below a version element: one entry per element name. */
    typedef struct ChildEntry
    {
        BSTR Name;         /* the element's name */
        SAFEARRAY* Values; /* array of BSTR: the texts of all elements of that name, in document order */
    } ChildEntry;

    /* What a removal tells while it runs, on the thread of the export. The value is null, unless said. */
    enum ProdsweepEvent
    {
        PRODSWEEP_EVENT_CATALOGUE = 0,  /* a catalogue was read; code: enum ProdsweepLoadCode */
        PRODSWEEP_EVENT_DESCRIPTOR = 1, /* a descriptor was read; code: enum ProdsweepLoadCode */
        PRODSWEEP_EVENT_FILES = 2,      /* 2 to 12: a stage has ended; code 0 done, 2 something failed */
        PRODSWEEP_EVENT_FOLDERS = 3,
        PRODSWEEP_EVENT_SHORTCUTS = 4,
        PRODSWEEP_EVENT_REG_KEYS = 5,
        PRODSWEEP_EVENT_REG_VALUES = 6,
        PRODSWEEP_EVENT_TOOLS = 7,
        PRODSWEEP_EVENT_PROCESSES = 8,
        PRODSWEEP_EVENT_DISABLE_DRIVER = 9,
        PRODSWEEP_EVENT_DISABLE_SERVICE = 10,
        PRODSWEEP_EVENT_STOP_DRIVER = 11,
        PRODSWEEP_EVENT_STOP_SERVICE = 12,
        PRODSWEEP_EVENT_PRODUCT = 13, /* a product's removal begins; value: its name, const wchar_t* */
        PRODSWEEP_EVENT_START = 14    /* follows PRODSWEEP_EVENT_PRODUCT */
    };

    /* The code of PRODSWEEP_EVENT_CATALOGUE and PRODSWEEP_EVENT_DESCRIPTOR. */
    enum ProdsweepLoadCode
    {
        PRODSWEEP_LOAD_DONE = 0,
        PRODSWEEP_LOAD_NOT_READABLE = 1, /* missing, or not well-formed */
        PRODSWEEP_LOAD_AT_FAULT = 2,     /* well-formed, but not what was expected */
        PRODSWEEP_LOAD_NO_PARSER = 3     /* MSXML could not be created */
    };

    /* value is only valid during the call. The callback must return; it may not start a second removal.
     * A C++ exception that it throws is dropped, as if it had returned, where the caller's compiler
     * throws like the DLL's; no other kind is caught. */
    typedef void (*UninstallCallback)(int32_t event, int32_t code, const void* value);

    /*
     * The listing exports. *products receives an array of ProductEntry (one dimension, lower bound 0,
     * unlocked): kind 1 first, then kind 2, each in the order of its catalogue.
     *
     * GetProducts           every product of the catalogues; Guids is null.
     * GetInstalledProducts  the installed ones; Guids: one BSTR per detected version, or null.
     * GetInstalledProductsEx  the same; Guids: one GuidEntry per distinct key of a detected version.
     *
     * False when a requested catalogue can't be read or memory is short; *products is then undefined.
     */
    PRODSWEEP_API bool GetProducts(SAFEARRAY** products, int flags);
    PRODSWEEP_API bool GetInstalledProducts(SAFEARRAY** products, int flags);
    PRODSWEEP_API bool GetInstalledProductsEx(SAFEARRAY** products, int flags);

    /*
     * The removal exports. callback may be null. *restart tells that a restart of the machine is needed
     * to finish; preset it to false, for it is written only when a removal was reached.
     *
     * UninstallProducts     the products of an array as the listing exports give it, which stays the
     *                       caller's. Pass products of one kind only: with both, kind 2 fails.
     *                       *restart is always false here; use UninstallProduct to learn of a restart.
     * UninstallProduct      one product, by Name and Kind (and Force).
     * UninstallForceAll     every product of a catalogue, installed or not.
     * UninstallAllInstalled every installed product of a catalogue.
     */
    PRODSWEEP_API bool UninstallProducts(SAFEARRAY* products, bool* restart, UninstallCallback callback);
    PRODSWEEP_API bool UninstallProduct(const ProductEntry* product, bool* restart, UninstallCallback callback);
    PRODSWEEP_API bool UninstallForceAll(int kind, bool* restart, UninstallCallback callback);
    PRODSWEEP_API bool UninstallAllInstalled(int kind, bool* restart, UninstallCallback callback);

    /* Progress of the product being removed, in per cent from 0; may pass 100. Any thread, any moment. */
    PRODSWEEP_API int32_t GetProgressPercent(void);

#ifdef __cplusplus
#define PRODSWEEP_ASSERT_LAYOUT(condition) static_assert(condition, "layout of the exported interface")
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define PRODSWEEP_ASSERT_LAYOUT(condition) _Static_assert(condition, "layout of the exported interface")
#else
/* C99 has no static assertion; an array of no valid size does the same, under a name of its own. */
#define PRODSWEEP_JOIN(left, right) left##right
#define PRODSWEEP_LAYOUT_TYPE(line, condition) typedef char PRODSWEEP_JOIN(ProdsweepLayout, line)[(condition) ? 1 : -1]
#define PRODSWEEP_ASSERT_LAYOUT(condition) PRODSWEEP_LAYOUT_TYPE(__LINE__, condition)
#endif
    PRODSWEEP_ASSERT_LAYOUT(sizeof(bool) == 1);
    PRODSWEEP_ASSERT_LAYOUT(sizeof(ProductEntry) == 40);
    PRODSWEEP_ASSERT_LAYOUT(offsetof(ProductEntry, Name) == 0);
    PRODSWEEP_ASSERT_LAYOUT(offsetof(ProductEntry, File) == 8);
    PRODSWEEP_ASSERT_LAYOUT(offsetof(ProductEntry, Kind) == 16);
    PRODSWEEP_ASSERT_LAYOUT(offsetof(ProductEntry, Guids) == 24);
    PRODSWEEP_ASSERT_LAYOUT(offsetof(ProductEntry, Force) == 32);
    PRODSWEEP_ASSERT_LAYOUT(sizeof(GuidEntry) == 16);
    PRODSWEEP_ASSERT_LAYOUT(offsetof(GuidEntry, Guid) == 0);
    PRODSWEEP_ASSERT_LAYOUT(offsetof(GuidEntry, Children) == 8);
    PRODSWEEP_ASSERT_LAYOUT(sizeof(ChildEntry) == 16);
    PRODSWEEP_ASSERT_LAYOUT(offsetof(ChildEntry, Name) == 0);
    PRODSWEEP_ASSERT_LAYOUT(offsetof(ChildEntry, Values) == 8);
#undef PRODSWEEP_ASSERT_LAYOUT
#undef PRODSWEEP_LAYOUT_TYPE
#undef PRODSWEEP_JOIN

    /* The helpers below need oleaut32 only, not the import library. They read arrays straight from
     * pvData, as nobody else holds a lock on an array that was handed out. A null array is no error,
     * and neither is one without data, which a shortage of memory may leave behind. */
#ifdef __cplusplus
#define PRODSWEEP_DATA(type, array) static_cast<type*>((array)->pvData)
#else
#define PRODSWEEP_DATA(type, array) ((type*)(array)->pvData)
#endif

    static inline void ProdsweepFreeStrings(SAFEARRAY* strings)
    {
        if (strings == NULL)
            return;
        BSTR* texts = PRODSWEEP_DATA(BSTR, strings);
        for (ULONG i = 0; texts != NULL && i < strings->rgsabound[0].cElements; ++i)
            SysFreeString(texts[i]);
        SafeArrayDestroy(strings);
    }

    static inline void ProdsweepFreeGuids(SAFEARRAY* guids)
    {
        if (guids == NULL)
            return;
        /* The two listing exports give elements of different size; the size tells them apart. */
        if (guids->cbElements != sizeof(GuidEntry))
        {
            ProdsweepFreeStrings(guids);
            return;
        }
        GuidEntry* entries = PRODSWEEP_DATA(GuidEntry, guids);
        for (ULONG i = 0; entries != NULL && i < guids->rgsabound[0].cElements; ++i)
        {
            SAFEARRAY* children = entries[i].Children;
            ChildEntry* names = children == NULL ? NULL : PRODSWEEP_DATA(ChildEntry, children);
            for (ULONG k = 0; names != NULL && k < children->rgsabound[0].cElements; ++k)
            {
                SysFreeString(names[k].Name);
                ProdsweepFreeStrings(names[k].Values);
            }
            SafeArrayDestroy(children);
            SysFreeString(entries[i].Guid);
        }
        SafeArrayDestroy(guids);
    }

    /* Frees an array of a listing export with everything in it. */
    static inline void ProdsweepFreeProducts(SAFEARRAY* products)
    {
        if (products == NULL)
            return;
        ProductEntry* entries = PRODSWEEP_DATA(ProductEntry, products);
        for (ULONG i = 0; entries != NULL && i < products->rgsabound[0].cElements; ++i)
        {
            SysFreeString(entries[i].Name);
            SysFreeString(entries[i].File);
            ProdsweepFreeGuids(entries[i].Guids);
        }
        SafeArrayDestroy(products);
    }

#undef PRODSWEEP_DATA

#ifdef __cplusplus
}
#endif

#endif
