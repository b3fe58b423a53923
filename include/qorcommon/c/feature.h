/* Features for C callers: a feature made from a table of callbacks, and the operations on any
 * feature handle.
 *
 * A C feature is a table of callbacks plus the caller's user data:
 *
 *     static const char* myName(void* data) { return "mine"; }
 *     ...
 *     qor_Feature_Callbacks cbs;
 *     qor_Feature_ptr feature;
 *     qor_Feature_Callbacks_init(QOR_API_REVISION, &cbs);
 *     cbs.name = myName; cbs.type = myType; cbs.nameInfo = myNameInfo; cbs.uniqueId = myId;
 *     cbs.createObject = myCreate;   (only for the type "config_handler")
 *     if (qor_Feature_init(&feature, &cbs, data)) { ... qor_Feature_destruct(feature); }
 *
 * The library copies the table, so it may live on the caller's stack. Every callback gets the
 * user data given to qor_Feature_init. name, type, nameInfo and uniqueId are required (a missing
 * one fails the check "priv->cbs.name", "priv->cbs.type", "priv->cbs.nameInfo" or
 * "priv->cbs.uniqueId" when it is first needed). Texts that the callbacks return stay owned by
 * the caller and must live as long as the feature; the library copies what nameInfo returns at
 * once.
 *
 * A feature handle holds one use of its feature; release it with qor_Feature_destruct (the
 * feature goes with its last use, calling the destroy callback). Records handed out live in
 * buffers of the calling thread, one per function: valid until the same thread calls the same
 * function again, never freed by the caller. A null handle fails the check "feature.obj". Valid
 * C99. */
#ifndef QORCOMMON_C_FEATURE_H
#define QORCOMMON_C_FEATURE_H

#include "qorcommon/c/config.h"
#include "qorcommon/c/errorinfo.h"
#include "qorcommon/c/export.h"
#include "qorcommon/c/framework.h"

QORCOMMON_EXTERN_C_BEGIN

/* The revision of the callback tables (qor_Feature_Callbacks, qor_Plugin_Callbacks) that this
 * library supports; a table of a higher revision is refused. */
#define QOR_API_REVISION 1

/* Revision 1: _revision followed by six callbacks, in this order. */
typedef struct qor_Feature_Callbacks {
    int _revision;
    /* The implementation's name, for example "mine". */
    const char* (*name)(void* user_data);
    /* The kind of service, for example "config_handler". */
    const char* (*type)(void* user_data);
    /* Display name and description; the texts are copied at once. */
    orv_NameInfo (*nameInfo)(void* user_data);
    /* The feature's id; qor_Feature_toUniqueId(type, name) unless the feature knows better. */
    long long (*uniqueId)(void* user_data);
    /* For the type "config_handler": a new handler over `chain` (which may be a null handle),
     * returned as a handle whose use the library takes over; a null handle when it cannot be
     * made. May be null: the feature then makes nothing. The library releases `chain` itself. */
    orv_ConfigHandler_ptr (*createObject)(void* user_data, orv_ConfigHandler_ptr chain);
    /* Called once when the feature is freed, to free the user data. May be null. */
    void (*destroy)(void* user_data);
} qor_Feature_Callbacks;

/* Sets cbs->_revision to api_revision and every callback to null. Checks "api_revision > 0" and
 * "[api_revision <= QOR_API_REVISION] unsupported API revision". */
QORCOMMON_API void qor_Feature_Callbacks_init(int api_revision,
                                              qor_Feature_Callbacks* cbs) QORCOMMON_NOEXCEPT;
/* Copies the callbacks of src_cbs into dst_cbs, keeping dst_cbs->_revision. Both revisions are
 * checked as by qor_Feature_Callbacks_init ("src_cbs->_revision > 0", ...). */
QORCOMMON_API void qor_Feature_Callbacks_copy(const qor_Feature_Callbacks* src_cbs,
                                              qor_Feature_Callbacks* dst_cbs) QORCOMMON_NOEXCEPT;

/* Makes the feature behind *feature from a copy of cbs. Checks "cbs->_revision > 0" and
 * "[cbs->_revision <= QOR_API_REVISION] unsupported API revision"; returns 1, or 0 with a null
 * *feature (the library then has not taken over user_data: destroy is not called). A feature of
 * the type "config_handler" with a createObject callback is found by the framework as a
 * configuration-handler feature. */
QORCOMMON_API short qor_Feature_init(qor_Feature_ptr* feature, const qor_Feature_Callbacks* cbs,
                                     void* user_data) QORCOMMON_NOEXCEPT;
/* Releases the handle's use of its feature. */
QORCOMMON_API void qor_Feature_destruct(qor_Feature_ptr feature) QORCOMMON_NOEXCEPT;

/* The feature's display name and description ("" texts for a null handle). */
QORCOMMON_API orv_NameInfo qor_Feature_info(qor_Feature_ptr feature) QORCOMMON_NOEXCEPT;
/* The feature's name and type, in buffers of the calling thread ("" for a null handle). */
QORCOMMON_API const char* qor_Feature_name(qor_Feature_ptr feature) QORCOMMON_NOEXCEPT;
QORCOMMON_API const char* qor_Feature_type(qor_Feature_ptr feature) QORCOMMON_NOEXCEPT;
/* The id of the feature of that type and name: the 64-bit hash of "<name>_<type>". Null texts
 * count as empty. */
QORCOMMON_API long long qor_Feature_toUniqueId(const char* type,
                                               const char* name) QORCOMMON_NOEXCEPT;
/* A new handler made by a "config_handler" feature (a C or a C++ one) over `chain` (which may be
 * a null handle); release it with orv_config_destruct. A null handle when the feature is of
 * another type or cannot make one. */
QORCOMMON_API orv_ConfigHandler_ptr qor_Feature_createConfigHandler(
    qor_Feature_ptr feature, orv_ConfigHandler_ptr chain) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
