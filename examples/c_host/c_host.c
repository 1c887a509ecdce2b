/*
 * The whole life of the extractor's library in plain C: open a catalogue, register a CAN bus with its description, look
 * around in it, subscribe to two signals, have one frame cut into records, and end everything again.
 *
 * Each step prints what it got. The process ends with 1 at the first call that fails.
 */
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "qor_tavi_extractor/qor_tavi_extractor.h"

enum { BUS_ID = 0x11, BUS_INSTANCE = 0, ENGINE_FRAME_ID = 0x123, HEADER_SIZE = 8, DATA_SIZE = 8 };

static const char description_text[] = "VERSION \"\"\n"
                                       "\n"
                                       "NS_ :\n"
                                       "\n"
                                       "BS_:\n"
                                       "\n"
                                       "BU_: Engine\n"
                                       "\n"
                                       "BO_ 291 EngineData: 8 Engine\n"
                                       " SG_ EngineSpeed : 0|16@1+ (0.25,0) [0|16383.75] \"rpm\" Dashboard\n"
                                       " SG_ OilTemperature : 16|8@1+ (1,-40) [-40|215] \"degC\" Dashboard\n";

/* Ends the process when a call failed; `error` is its details. */
static void check(const char* what, uint32_t status, qor_error_details_t* error) {
    if (status != QOR_STATUS_OK) {
        const char* const text = qor_error_details_get_description(error);
        fprintf(stderr, "%s failed with status 0x%08" PRIX32 ": %s\n", what, status, text != NULL ? text : "no text");
        exit(EXIT_FAILURE);
    }
}

/* A log sink: the extractor and its plug-ins speak through it. */
static uint32_t print_message(void* context, const qor_log_info_t* info, qor_error_details_t** error) {
    (void)error;
    if (info->level <= QOR_LOG_LEVEL_WARNING) {
        fprintf((FILE*)context, "%s\n", info->message);
    }
    return QOR_STATUS_OK;
}

/* The host's services: the log sink alone. */
static uint32_t can_resolve(void* context, const char* service_type, bool* result, qor_error_details_t** error) {
    (void)context;
    (void)error;
    *result = strcmp(service_type, "qor_log_t") == 0;
    return QOR_STATUS_OK;
}

static uint32_t resolve(void* context, const char* service_type, void* target, qor_error_details_t** error) {
    if (strcmp(service_type, "qor_log_t") != 0) {
        return qor_error_details_create(error, QOR_STATUS_FAILURE, "this host has a log sink only");
    }
    *(void**)target = context;
    return QOR_STATUS_OK;
}

static void register_bus(qor_tavi_extractor_t* extractor) {
    qor_error_details_t* error = NULL;
    qor_memory_allocator_t* const allocator = qor_get_default_allocator();
    qor_data_description_content_t content;
    memset(&content, 0, sizeof(content));
    strcpy(content.description.name, "engine.dbc");
    strcpy(content.description.format_type, "dbc");
    content.content_size = sizeof(description_text) - 1;
    content.content = description_text;

    char** signatures = NULL;
    size_t count = 0;
    check("registering the bus",
          qor_tavi_extractor_register_source_with_data_descriptions(extractor, BUS_ID, BUS_INSTANCE, "can0", &content,
                                                                    1, &signatures, &count, allocator, &error),
          error);
    printf("registered can0 with %zu description\n", count);
    for (size_t i = 0; i < count; ++i) {
        allocator->free(signatures[i], allocator->context);
    }
    allocator->free(signatures, allocator->context);
}

/* Prints a list of nodes and all below them, and frees it. */
static void print_nodes(qor_tavi_extractor_t* extractor, qor_type_node_sequence_t* nodes, int depth) {
    for (uint64_t i = 0; i < nodes->count; ++i) {
        printf("%*s%s\n", 2 * depth, "", nodes->nodes[i].name);
        qor_error_details_t* error = NULL;
        qor_type_node_sequence_t* children = NULL;
        check("asking for children",
              qor_tavi_extractor_get_node_children(extractor, &nodes->nodes[i], &children, &error), error);
        print_nodes(extractor, children, depth + 1);
    }
    qor_type_node_sequence_destroy(qor_get_default_allocator(), nodes, NULL);
}

static void browse(qor_tavi_extractor_t* extractor) {
    qor_error_details_t* error = NULL;
    qor_type_node_sequence_t* roots = NULL;
    check("asking for the views", qor_tavi_extractor_get_root_nodes_by_source_name(extractor, "can0", &roots, &error),
          error);
    print_nodes(extractor, roots, 0);
}

static void print_schema(qor_tavi_extractor_t* extractor, const char* url) {
    qor_error_details_t* error = NULL;
    size_t size = 0;
    if (qor_tavi_extractor_get_type_schema_by_url(extractor, url, false, false, false, NULL, &size, &error) !=
        QOR_STATUS_BUFFER_TOO_SMALL) {
        check("asking for a schema", QOR_STATUS_FAILURE, error);
    }
    /* One byte more than the size: a zero is written behind the text's own. */
    char* const schema = malloc(size + 1);
    if (schema == NULL) {
        check("allocating", QOR_STATUS_OUT_OF_MEMORY, NULL);
    }
    check("reading a schema",
          qor_tavi_extractor_get_type_schema_by_url(extractor, url, false, false, false, schema, &size, &error), error);
    printf("%s has the schema %s\n", url, schema);
    free(schema);
}

static uint64_t subscribe(qor_tavi_extractor_t* extractor, const char* url) {
    qor_error_details_t* error = NULL;
    uint64_t subscription = 0;
    check("subscribing", qor_tavi_extractor_subscribe(extractor, url, false, &subscription, &error), error);
    printf("subscription %" PRIu64 " is %s\n", subscription, url);
    return subscription;
}

/* A package of one CAN frame: the record of a package, then as payload the frame's header and its data. */
static qor_package_t* make_package(uint32_t frame_id, const uint8_t data[DATA_SIZE]) {
    qor_package_t* const package = calloc(1, sizeof(qor_package_t) + HEADER_SIZE + DATA_SIZE);
    if (package == NULL) {
        check("allocating", QOR_STATUS_OUT_OF_MEMORY, NULL);
    }
    package->source_id = BUS_ID;
    package->instance = BUS_INSTANCE;
    strcpy(package->format_type, "can");
    package->payload_size = HEADER_SIZE + DATA_SIZE;
    uint8_t* const payload = (uint8_t*)package + sizeof(qor_package_t);
    for (int i = 0; i < 4; ++i) {
        payload[i] = (uint8_t)(frame_id >> (8 * i));
    }
    payload[4] = DATA_SIZE;
    memcpy(payload + HEADER_SIZE, data, DATA_SIZE);
    return package;
}

static void process(qor_tavi_extractor_t* extractor, const qor_package_t* package) {
    qor_error_details_t* error = NULL;
    qor_memory_allocator_t* const allocator = qor_get_default_allocator();
    qor_dynamic_data_t** records = NULL;
    size_t count = 0;
    check("processing a package",
          qor_tavi_extractor_process(extractor, package, false, &records, &count, allocator, &error), error);
    for (size_t i = 0; i < count; ++i) {
        printf("subscription %" PRIu64 " has the bytes", records[i]->subscription_handle);
        for (uint64_t k = 0; k < records[i]->sequence.sequence_length; ++k) {
            printf(" %02X", records[i]->sequence.data[k]);
        }
        printf("\n");
        qor_dynamic_data_destroy(allocator, records[i], NULL);
    }
    allocator->free(records, allocator->context);
}

int main(void) {
    qor_log_t sink = {print_message, stderr};
    qor_service_locator_t services = {resolve, can_resolve, &sink};
    qor_error_details_t* error = NULL;
    qor_tavi_extractor_t* extractor = NULL;
    check("making the extractor",
          qor_tavi_extractor_create("file:signal_storage?mode=memory", 0, &services, &extractor, &error), error);

    register_bus(extractor);
    browse(extractor);
    print_schema(extractor, "can0.CAN.EngineData.EngineSpeed");
    const uint64_t speed = subscribe(extractor, "can0.CAN.EngineData.EngineSpeed");
    subscribe(extractor, "can0.CAN.EngineData.OilTemperature");

    /* 0x0FA0 quarter turns a minute are 1000 rpm; 0x82 less 40 is 90 degrees. */
    const uint8_t data[DATA_SIZE] = {0xA0, 0x0F, 0x82, 0, 0, 0, 0, 0};
    qor_package_t* const package = make_package(ENGINE_FRAME_ID, data);
    process(extractor, package);

    check("unsubscribing", qor_tavi_extractor_unsubscribe(extractor, speed, &error), error);
    size_t left = 0;
    check("counting", qor_tavi_extractor_get_subscription_count(extractor, &left, &error), error);
    printf("%zu subscription is left\n", left);
    check("unregistering", qor_tavi_extractor_unregister_sources(extractor, &error), error);
    process(extractor, package); /* nobody knows the source any more: no records, no failure */
    free(package);

    check("destroying", qor_tavi_extractor_destroy(extractor), NULL);
    printf("done\n");
    return EXIT_SUCCESS;
}
