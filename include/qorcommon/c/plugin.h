/* Plug-ins written in C.
 *
 * A plug-in library exports the four entry points described in qorcommon/plugin.h. A C plug-in
 * makes its plug-in object in orv_plugin_attach from a table of callbacks and frees it in
 * orv_plugin_detach:
 *
 *     qor_Plugin_ptr orv_plugin_attach(void) {
 *         qor_Plugin_Callbacks cbs;
 *         qor_Plugin_Callbacks_init(QOR_API_REVISION, &cbs);
 *         cbs.moduleInfo = myModuleInfo;
 *         cbs.features = myFeatures;      (calls qor_Plugin_addFeature for each feature)
 *         return qor_Plugin_construct(&cbs, NULL);
 *     }
 *     void orv_plugin_detach(qor_Plugin_ptr plugin) { qor_Plugin_destruct(plugin); }
 *
 * The library copies the table. Every callback gets the user data given to
 * qor_Plugin_construct. A null plug-in handle fails the check "plugin.obj". Valid C99. */
#ifndef QORCOMMON_C_PLUGIN_H
#define QORCOMMON_C_PLUGIN_H

#include "qorcommon/c/configdefinition.h"
#include "qorcommon/c/errorinfo.h"
#include "qorcommon/c/export.h"
#include "qorcommon/c/feature.h"
#include "qorcommon/c/framework.h"

QORCOMMON_EXTERN_C_BEGIN

/* The plug-in API revision that orv_plugin_getApiRevision must at least answer and that
 * orv_plugin_checkApiRevision is asked about. */
#define QOR_PLUGIN_API_REVISION 3

/* Revision 1 (QOR_API_REVISION): _revision followed by four callbacks, in this order. */
typedef struct qor_Plugin_Callbacks {
    int _revision;
    /* The plug-in's identity (required; a uniqueId of 0 is derived from name and type). The
     * texts are copied at once. */
    orv_ModuleInfo (*moduleInfo)(void* user_data);
    /* Called once, the first time the framework asks for the plug-in's features: adds each
     * with qor_Plugin_addFeature(plugin, feature). May be null. */
    void (*features)(void* user_data, qor_Plugin_ptr plugin);
    /* The configuration entries of the plug-in as a whole, as a handle whose use the library
     * takes over; a null handle for none. May be null. */
    orv_ConfigDefinition_ptr (*configDefinition)(void* user_data);
    /* Called once when the plug-in object is freed, to free the user data. May be null. */
    void (*destroy)(void* user_data);
} qor_Plugin_Callbacks;

/* Sets cbs->_revision to api_revision and every callback to null. Checks "api_revision > 0" and
 * "[api_revision <= QOR_API_REVISION] unsupported API revision". */
QORCOMMON_API void qor_Plugin_Callbacks_init(int api_revision,
                                             qor_Plugin_Callbacks* cbs) QORCOMMON_NOEXCEPT;
/* A new plug-in object over a copy of cbs (checked as by qor_Plugin_Callbacks_init, with
 * "cbs->_revision"); a null handle when the table is refused (destroy is then not called). */
QORCOMMON_API qor_Plugin_ptr qor_Plugin_construct(const qor_Plugin_Callbacks* cbs,
                                                  void* user_data) QORCOMMON_NOEXCEPT;
/* Frees a plug-in object made by qor_Plugin_construct (calling its destroy callback). */
QORCOMMON_API void qor_Plugin_destruct(qor_Plugin_ptr plugin) QORCOMMON_NOEXCEPT;
/* Adds a feature to those of a plug-in made by qor_Plugin_construct. The plug-in takes a use of
 * its own: the caller still releases its handle with qor_Feature_destruct. Returns 1, or 0 for a
 * null handle or a plug-in not made by qor_Plugin_construct. */
QORCOMMON_API short qor_Plugin_addFeature(qor_Plugin_ptr plugin,
                                          qor_Feature_ptr feature) QORCOMMON_NOEXCEPT;
/* The configuration definition of any plug-in (null handle: it has none); release it with
 * orv_DetachConfigDefinition. */
QORCOMMON_API orv_ConfigDefinition_ptr orv_Plugin_configDefinition(qor_Plugin_ptr plugin)
    QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
