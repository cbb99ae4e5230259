/* Random streams and distributions.
 *
 * A stream is one heap record: the header below, followed by the words of its basic generator. The generator
 * is named by an identifier, (row + 1) << 20 plus a parameter-set number in the low 20 bits; the registry row
 * of that identifier gives the size of the record and the four functions that initialise the generator and
 * fill arrays. Distribution generators draw from a stream and transform what they draw.
 *
 * Every function returns a status, 0 or a negative code of the list below, unless its comment says otherwise.
 * Counts n are numbers of results; n < 1 generates nothing. One stream is used by one thread at a time;
 * different streams may be used by different threads freely. Records and chunks come from ozk_serv_allocate,
 * alignment 128.
 */
#ifndef OZK_VSL_H
#define OZK_VSL_H

#include "ozk_core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Constants -------------------------------------------------------------------------------------- */

enum OzkVslStatus {
    kOzkVslSuccess = 0,                      /* Done. */
    kOzkVslErrorUnknownMethod = -2,          /* The method code is not one that this function knows. */
    kOzkVslErrorBadArguments = -3,           /* An argument is outside its range, or a pointer is null. */
    kOzkVslErrorNoMemory = -4,               /* There is not enough memory. */
    kOzkVslErrorNullFunction = -5,           /* A function of the generator row is null. */
    kOzkVslErrorInvalidGenerator = -1000,    /* No generator of this library has this identifier. */
    kOzkVslErrorRegistryFull = -1001,        /* The registry has no room for another generator. */
    kOzkVslErrorNoLeapfrog = -1002,          /* The generator does not support leapfrog. */
    kOzkVslErrorNoSkipAhead = -1003,         /* The generator does not support skip ahead. */
    kOzkVslErrorNoSkipAheadEx = -1004,       /* The generator does not support extended skip ahead. */
    kOzkVslErrorBadStateSize = -1008,        /* The state size of the generator row is negative. */
    kOzkVslErrorBadWordSize = -1009,         /* The word size of the generator row is not 4, 8 or 16. */
    kOzkVslErrorBadSeedCount = -1010,        /* The seed count of the generator row is below 1. */
    kOzkVslErrorBadBitCount = -1011,         /* The number of bits of the generator row is below 1. */
    kOzkVslErrorBadStreamCount = -1013,      /* The number of leapfrog sub-streams is negative. */
    kOzkVslErrorCloseFile = -1100,           /* The file could not be closed: what was written may be lost. */
    kOzkVslErrorOpenFile = -1101,            /* The file could not be opened. */
    kOzkVslErrorWriteFile = -1102,           /* The file could not be written. */
    kOzkVslErrorReadFile = -1103,            /* The file could not be read, or ends too early. */
    kOzkVslErrorFileFormat = -1110,          /* The file holds no stream of this library. */
    kOzkVslErrorFileVersion = -1111,         /* The file holds a stream in a newer format. */
    kOzkVslErrorNoRandomInstruction = -1130, /* The processor has no random-number instruction. */
    kOzkVslErrorNoRandomNumber = -1131,      /* The processor gave no random number within the retry limit. */
    kOzkVslErrorNoAes = -1140,               /* The processor has no AES instructions. */
    kOzkVslErrorBadRefill = -1150,    /* The refill of an abstract stream gave too few or too many numbers. */
    kOzkVslErrorMemoryFormat = -1200, /* The memory holds no stream of this library. */
    kOzkVslErrorSharedDataMissing = -3000, /* The shared data table has no entry with this key. */
    kOzkVslErrorSharedDataFull = -3001     /* The shared data table is full. */
};

/* Identifiers of the basic generators. Those of a family (WH, MT2203) are the identifier plus the number of
 * the parameter set. Identifiers 0 to 278 are an older numbering: 0 MCG31M1, 1 R250, 2 MRG32K3A, 3 MCG59, 4
 * to 276 the parameter sets of WH, 277 Sobol, 278 Niederreiter. */
enum OzkVslGenerator {
    kOzkVslMcg31m1 = 0x100000,
    kOzkVslR250 = 0x200000,
    kOzkVslMrg32k3a = 0x300000,
    kOzkVslMcg59 = 0x400000,
    kOzkVslWh = 0x500000, /* + set, below 273 */
    kOzkVslSobol = 0x600000,
    kOzkVslNiederreiter = 0x700000,
    kOzkVslMt19937 = 0x800000,
    kOzkVslMt2203 = 0x900000, /* + set, below 6024 */
    kOzkVslIntegerAbstract = 0xA00000,
    kOzkVslDoubleAbstract = 0xB00000,
    kOzkVslSingleAbstract = 0xC00000,
    kOzkVslSfmt19937 = 0xD00000,
    kOzkVslNondeterministic = 0xE00000,
    kOzkVslArs5 = 0xF00000,
    kOzkVslPhilox4x32x10 = 0x1000000,
    kOzkVslFirstRegistered = 0x1100000 /* what the first __vslRegisterBrng returns */
};

/* What an initialisation function is asked to do, with its n and params. */
enum OzkVslInitMethod {
    kOzkVslInitSeed = 0,       /* Initialise the state: n seed words of 32 bits. */
    kOzkVslInitLeapfrog = 1,   /* Become sub-stream k of n: one 32-bit k. */
    kOzkVslInitSkipAhead = 2,  /* Skip outputs: n is 2, one 64-bit count. */
    kOzkVslInitSkipAheadEx = 3 /* Skip outputs: n 64-bit words of the count, least significant first. */
};

/* How a caller describes dimensions of a quasi-random sequence. */
enum OzkVslQuasiForm {
    kOzkVslQuasiPolynomials = 1, /* By polynomials: see the family. */
    kOzkVslQuasiDirections = 2   /* By the 32 direction numbers of each dimension, that of bit 0 first. */
};

/* Method codes of the distribution generators. */
enum OzkVslMethod {
    kOzkVslUniformStandard = 0,         /* The generator's own floating-point output. */
    kOzkVslGaussianBoxMuller = 0,       /* The sine of each pair of uniforms. */
    kOzkVslGaussianBoxMullerPairs = 1,  /* The sine and the cosine of each pair of uniforms. */
    kOzkVslGaussianInverse = 2,         /* The inverse distribution function of each uniform. */
    kOzkVslInverse = 0,                 /* The inverse distribution function of one uniform. */
    kOzkVslLognormalBoxMullerPairs = 0, /* From Gaussian numbers of that method. */
    kOzkVslLognormalInverse = 1,        /* From Gaussian numbers of the inverse method. */
    kOzkVslRejection = 0,               /* Gamma, Beta, ChiSquare, Binomial, Hypergeometric. */
    kOzkVslPoissonPtpe = 0,             /* The four of Poisson: see there. */
    kOzkVslPoissonTransformedRejection = 1,
    kOzkVslPoissonRatioOfUniforms = 2,
    kOzkVslPoissonInverse = 3,         /* The inverse distribution function of one uniform. */
    kOzkVslMethodAccurate = 0x40000000 /* Flag: keep results inside the distribution's support. */
};

/* How GaussianMV finds the lower triangular factor T of the covariance. */
enum OzkVslFactorStorage {
    kOzkVslFactorFull =
        0, /* dimension by dimension, row after row; what is above the diagonal is not read. */
    kOzkVslFactorPacked = 1,  /* The rows of the lower triangle, one after the other. */
    kOzkVslFactorDiagonal = 2 /* The diagonal alone: T has zeros elsewhere. */
};

enum OzkVslLimits {
    kOzkVslRegistryRows = 512,           /* Rows of room in a generator table. */
    kOzkVslSharedDataEntries = 128,      /* Entries of the shared data table. */
    kOzkVslWhSets = 273,                 /* Parameter sets of WH. */
    kOzkVslMt2203Sets = 6024,            /* Parameter sets of MT2203. */
    kOzkVslMrg32k3aPowers = 193,         /* Matrices of a component in the table of MRG32K3A. */
    kOzkVslSobolDimensions = 40,         /* Dimensions with numbers of their own. */
    kOzkVslSobolInitialNumbers = 8,      /* Most initial numbers of such a dimension. */
    kOzkVslNiederreiterDimensions = 318, /* Dimensions with polynomials of their own. */
    kOzkVslGaussianChunk = 2, /* Identifier of the chunk that holds the pending pair of uniforms. */
    kOzkVslPoissonChunk = 3   /* Identifier of the chunk that holds what was derived from a Poisson mean. */
};

/* ---- Records ---------------------------------------------------------------------------------------- */

/* A block of data attached to a stream. The stream owns the record, and the data unless they are shared: the
 * shared data belong to the entry of the shared data table with the same key. */
typedef struct OzkVslChunk {
    uint32_t identifier; /* chosen by the generator that attaches the chunk */
    int32_t size;        /* bytes of data */
    void* data;
    struct OzkVslChunk* next;
    uint64_t key[2]; /* both words zero: private data */
} OzkVslChunk;

/* The header of a stream record; the generator's state follows it. */
typedef struct OzkVslStream {
    uint32_t identifier; /* the identifier that the stream was created with */
    int32_t marker;      /* 1 in every allocated record */
    OzkVslChunk* chunks; /* head of the list of chunks, or null */
} OzkVslStream;

/* Initialises a stream or moves it, as its method (OzkVslInitMethod) says. */
typedef int32_t (*OzkVslInitFunction)(uint32_t method, OzkVslStream* stream, int32_t n, const void* params);
/* Fill r with n numbers on [a, b). */
typedef int32_t (*OzkVslSingleFunction)(OzkVslStream* stream, int32_t n, float* r, float a, float b);
typedef int32_t (*OzkVslDoubleFunction)(OzkVslStream* stream, int32_t n, double* r, double a, double b);
/* Fills r with n raw words of the row's word size. */
typedef int32_t (*OzkVslIntegerFunction)(OzkVslStream* stream, int32_t n, void* r);

/* What the library knows of a basic generator: one row of the registry. */
typedef struct OzkVslBrngProperties {
    int32_t state_size;    /* bytes of the stream record, header included */
    int32_t seed_count;    /* words of state that __vslCopyStreamState copies, of word_size bytes each */
    int32_t includes_zero; /* 1 when an integer output can be 0, else 0 */
    int32_t word_size;     /* bytes of one integer output: 4, 8 or 16 */
    int32_t bits;          /* significant bits of one integer output (of each 4-byte component when 16) */
    OzkVslInitFunction init;
    OzkVslSingleFunction single_generator;
    OzkVslDoubleFunction double_generator;
    OzkVslIntegerFunction integer_generator;
} OzkVslBrngProperties;

typedef struct OzkVslBrngTable {
    OzkVslBrngProperties rows[kOzkVslRegistryRows];
} OzkVslBrngTable;

/* Tables of parameters, see below. */
typedef struct OzkVslMrg32k3aTable {
    uint32_t first[kOzkVslMrg32k3aPowers][9];
    uint32_t second[kOzkVslMrg32k3aPowers][9];
} OzkVslMrg32k3aTable;
typedef struct OzkVslWhModuli {
    uint32_t sets[kOzkVslWhSets][4];
} OzkVslWhModuli;
typedef struct OzkVslWhMultipliers {
    uint32_t sets[kOzkVslWhSets];
} OzkVslWhMultipliers;
typedef struct OzkVslWhReciprocals {
    double sets[kOzkVslWhSets][4];
} OzkVslWhReciprocals;

/* An entry of the process-wide table of read-only data that chunks of several streams point to. */
typedef struct OzkVslSharedData {
    uint64_t key[2];
    uint32_t references;
    void* data;
} OzkVslSharedData;

/* Refill callbacks of abstract streams. The stream first gives the numbers that its buffer holds when it is
 * created. When a call of its generator finds them used up (the index has reached the length) it calls the
 * callback, which writes further numbers from buffer[0] on and returns how many: at least `least`, the number
 * that the call still wants, if the buffer has room for so many, and at most `most`, the buffer's length. What
 * is more than wanted waits for the next call. Doubles and singles lie on [a, b) as given to the constructor.
 * A return outside least to most ends the generator call with kOzkVslErrorBadRefill; numbers of a short refill
 * are handed out by the next call. The callback must not draw from the stream or delete it. */
typedef int32_t (*OzkVslIntegerRefill)(OzkVslStream* stream, uint32_t* buffer, int32_t least, int32_t most);
typedef int32_t (*OzkVslDoubleRefill)(OzkVslStream* stream, double* buffer, int32_t least, int32_t most,
                                      double a, double b);
typedef int32_t (*OzkVslSingleRefill)(OzkVslStream* stream, float* buffer, int32_t least, int32_t most,
                                      float a, float b);

/* ---- Registry --------------------------------------------------------------------------------------- *
 * The tables are read without a lock. Registration writes without one: register generators before streams are
 * used by several threads. */

/* The table of the older numbering and the current table; rows past the last one used are zero. */
extern OZK_EXPORT const OzkVslBrngTable __RegBrngs;
extern OZK_EXPORT OzkVslBrngTable __RegBrngsNew;

/* Maps an identifier to its table (returned), its row and its parameter-set number. Never fails: the row may
 * lie outside the table, which __vslIsBrngValid tells. */
OZK_EXPORT const OzkVslBrngTable* __vslGetBrngBaseOffset(uint32_t identifier, int32_t* row, int32_t* set);

/* 0, or kOzkVslErrorInvalidGenerator. In the older table rows below 281 are valid, whatever the set; in the
 * current one, filled rows with a set below the row's number of sets. */
OZK_EXPORT int32_t __vslIsBrngValid(const OzkVslBrngTable* table, int32_t row, int32_t set);

/* Copies the row of an identifier, or kOzkVslErrorInvalidGenerator with the row untouched. */
OZK_EXPORT int32_t __vslGetBrngProperties(uint32_t identifier, OzkVslBrngProperties* row);

/* Appends a generator to the current table and returns its identifier, or an error, checked in this order:
 * kOzkVslErrorBadStateSize (below 0), kOzkVslErrorBadWordSize, kOzkVslErrorBadSeedCount (below 1),
 * kOzkVslErrorBadBitCount (below 1), kOzkVslErrorNullFunction, kOzkVslErrorRegistryFull (all 512 rows are
 * used). A record is at least as large as its header, however small the state size is. */
OZK_EXPORT int32_t __vslRegisterBrng(const OzkVslBrngProperties* row);

/* The number of filled rows of the current table. */
OZK_EXPORT int32_t __vslGetNumRegBrngs(void);

/* ---- Stream operations ------------------------------------------------------------------------------ */

/* The identifier that the stream was created with. */
OZK_EXPORT uint32_t __vslGetStreamStateBrng(const OzkVslStream* stream);

/* Creates a stream and seeds it with n words. kOzkVslErrorInvalidGenerator for the identifiers of abstract
 * streams, for invalid identifiers and for rows without functions (the handle is untouched);
 * kOzkVslErrorNoMemory (the handle is null); else what the generator says of its seed: when that is an error,
 * the stream exists and is to be deleted. */
OZK_EXPORT int32_t __vslNewStreamEx(OzkVslStream** stream, uint32_t identifier, int32_t n,
                                    const uint32_t* seed);

/* Allocates the record of a stream and fills its header; the state is not initialised. Errors as above. */
OZK_EXPORT int32_t __vslAllocateStream(OzkVslStream** stream, const OzkVslBrngTable* table,
                                       uint32_t identifier, int32_t row, int32_t set);

/* Create a stream that hands out the numbers of a caller's buffer of n elements and has it refilled by a
 * callback. The buffer stays the caller's and must outlive the stream and its copies.
 * kOzkVslErrorBadArguments unless n > 0, the buffer and the callback are not null, and a < b. */
OZK_EXPORT int32_t __vsliNewAbstractStream(OzkVslStream** stream, int32_t n, uint32_t* buffer,
                                           OzkVslIntegerRefill refill);
OZK_EXPORT int32_t __vsldNewAbstractStream(OzkVslStream** stream, int32_t n, double* buffer,
                                           OzkVslDoubleRefill refill, double a, double b);
OZK_EXPORT int32_t __vslsNewAbstractStream(OzkVslStream** stream, int32_t n, float* buffer,
                                           OzkVslSingleRefill refill, float a, float b);

/* Creates a stream equal to another, chunks included. kOzkVslErrorInvalidGenerator (the handle is untouched);
 * kOzkVslErrorNoMemory (the handle is null and nothing is left allocated). */
OZK_EXPORT int32_t __vslCopyStream(OzkVslStream** copy, const OzkVslStream* source);

/* Gives a stream the state and the chunks of another stream of the same generator, which is not checked. At
 * most the bytes of the record's state are copied. kOzkVslErrorNoMemory leaves the destination as it was. */
OZK_EXPORT int32_t __vslCopyStreamState(OzkVslStream* destination, const OzkVslStream* source);

/* Turns the stream into sub-stream k of `count` interleaved ones: it gives outputs k, k + count, k + 2 count,
 * ... kOzkVslErrorBadStreamCount when count is negative; kOzkVslErrorNoLeapfrog. */
OZK_EXPORT int32_t __vslLeapfrogStream(OzkVslStream* stream, int32_t k, int32_t count);

/* Skips `count` integer outputs. kOzkVslErrorNoSkipAhead. */
OZK_EXPORT int32_t __vslSkipAheadStream(OzkVslStream* stream, uint64_t count);

/* Skips as many outputs as the n words say, least significant first. kOzkVslErrorNoSkipAheadEx. */
OZK_EXPORT int32_t __vslSkipAheadStreamEx(OzkVslStream* stream, int32_t n, const uint64_t* count);

/* Deletes the stream, its chunks and its references to shared data, and makes the handle null. */
OZK_EXPORT int32_t __vslDeleteStream(OzkVslStream** stream);

/* ---- Saving and loading ----------------------------------------------------------------------------- *
 * An image holds a stream whole: its state, numbers that wait in it, and its chunks. All numbers are
 * little-endian: a byte 2, the characters RNG, and 32-bit words: 20, bytes of the state, number of chunks (16
 * bits, and 16 more), identifier; then the state; then for each chunk the identifier, the key (two 64-bit
 * words), the size (32 bits) and the data. Images of two older headers of 16 bytes are loaded as well.
 *
 * Loading trusts nothing: an image that is no stream, or is cut off, has its status, leaves the handle null
 * and nothing allocated. A chunk shares data in the shared data table only when they equal its own. What
 * follows an image is ignored. The chunks of a loaded stream stand in reverse order. Abstract streams, whose state is addresses, can't be loaded: that is bad
 * format. kOzkVslErrorNoMemory; kOzkVslErrorNoRandomInstruction or kOzkVslErrorNoAes when the processor lacks
 * what the generator needs.
 *
 * A name has name_length bytes, or is terminated by 0 when that is negative. */

/* Writes an image into a file, which is replaced. kOzkVslErrorOpenFile, kOzkVslErrorWriteFile (also when the
 * stream has more than 65535 chunks), kOzkVslErrorCloseFile. */
OZK_EXPORT int32_t __vslSaveStreamF(const OzkVslStream* stream, const char* name, int32_t name_length);

/* Creates a stream from a file. kOzkVslErrorOpenFile, kOzkVslErrorReadFile (the file is too short, or no
 * regular file), kOzkVslErrorFileFormat, kOzkVslErrorFileVersion, kOzkVslErrorCloseFile. */
OZK_EXPORT int32_t __vslLoadStreamF(OzkVslStream** stream, const char* name, int32_t name_length);

/* The bytes of the stream's image. */
OZK_EXPORT int32_t __vslGetStreamSize(const OzkVslStream* stream);

/* Writes an image into memory of __vslGetStreamSize bytes. Bytes 14 and 15 are left as they are. */
OZK_EXPORT int32_t __vslSaveStreamM(const OzkVslStream* stream, void* memory);

/* Create a stream from an image in memory: the first trusts that all of it is there, the second reads no more
 * than `size` bytes. kOzkVslErrorMemoryFormat. */
OZK_EXPORT int32_t __vslLoadStreamM(OzkVslStream** stream, const void* memory);
OZK_EXPORT int32_t ozk_vsl_load_stream(OzkVslStream** stream, const void* memory, uint64_t size);

/* ---- Chunks ----------------------------------------------------------------------------------------- */

/* Attaches data to a stream, at the head of its list. A null key means private data. When the shared data
 * table has the key, the chunk takes a reference to the data there and `data` stays the caller's; otherwise
 * the stream takes `data` (a block of ozk_serv_allocate), and shares them under the key while the table has
 * fewer than 127 entries. kOzkVslErrorNoMemory: nothing is attached and `data` stay the caller's. */
OZK_EXPORT int32_t __vslAddChunk(OzkVslStream* stream, uint32_t identifier, const uint64_t* key, void* data,
                                 int32_t size);

/* The data of the first chunk with this identifier, or null. */
OZK_EXPORT void* __vslSearchChunk(const OzkVslStream* stream, uint32_t identifier);

/* The number of chunks. */
OZK_EXPORT int32_t __vslGetNumChunks(const OzkVslStream* stream);

/* Delete all chunks, or all with one identifier: shared data lose a reference, private data are freed. */
OZK_EXPORT int32_t __vslDeleteChunksById(OzkVslStream* stream, uint32_t identifier);
OZK_EXPORT int32_t __vslDeleteChunks(OzkVslStream* stream);

/* Adds copies of all chunks of the source, so that they stand in reverse order: shared data are referenced,
 * private data duplicated. On kOzkVslErrorNoMemory the destination is left without chunks. */
OZK_EXPORT int32_t __vslCopyChunks(OzkVslStream* destination, const OzkVslStream* source);

/* ---- Shared read-only data -------------------------------------------------------------------------- *
 * A process-wide table, safe to use from any thread. A key is two words, not both zero. */

/* Points *entry to the entry with this key, or kOzkVslErrorSharedDataMissing. Entries move when another one
 * is released: the pointer is for looking at while nothing is released. */
OZK_EXPORT int32_t __vslFindGlobRODataTableEntry(OzkVslSharedData** entry, const uint64_t* key);

/* Adds data under a key, with one reference for the caller, and points *entry to the entry. When the key is
 * there already, takes a reference to that entry instead: its data then differ from the caller's. The table
 * owns the data of its entries. kOzkVslErrorSharedDataMissing for the zero key; kOzkVslErrorSharedDataFull.
 */
OZK_EXPORT int32_t __vslCreateGlobRODataTableEntry(OzkVslSharedData** entry, const uint64_t* key, void* data);

/* Takes a reference and gives the data, or kOzkVslErrorSharedDataMissing. */
OZK_EXPORT int32_t __vslRegisterGlobRODataReference(void** data, const uint64_t* key);

/* Gives a reference back; the data are freed with the last one. kOzkVslErrorSharedDataMissing. */
OZK_EXPORT int32_t __vslUnregisterGlobRODataReference(const uint64_t* key);

/* Makes key[1] = second_word and returns 0 as soon as the table has no entry with the key; key[0] must be a
 * word that no entry uses, otherwise the function waits until that entry is gone. */
OZK_EXPORT int32_t __vslGenerateNewGlobalRODataTableEntryId(uint64_t* key, uint64_t second_word);

/* ---- Processor checks ------------------------------------------------------------------------------- */

/* 1 when the processor has the random-number instruction, the AES instructions, or (nonzero) their vector
 * forms. */
OZK_EXPORT int32_t __vslCPUisRDRAND(void);
OZK_EXPORT int32_t __vslCPUisAES(void);
OZK_EXPORT int32_t __vslCPUisVAES(void);

/* ---- Modular powers --------------------------------------------------------------------------------- */

/* a^e mod 2^31 - 1, for a < 2^31 - 1; a^e mod 2^59; a^e mod m, for m > 0. By squaring and multiplying. */
OZK_EXPORT uint32_t __vsliPowMod2P31M1(uint32_t a, uint64_t e);
OZK_EXPORT uint64_t __vsliPowMod2P59(uint64_t a, uint64_t e);
OZK_EXPORT uint32_t __vsliPowMod(uint32_t a, uint64_t e, uint32_t m);

/* x <- a^e x mod m, for a vector x of 3 and a matrix a of 3 by 3 numbers, row after row, all below m: e is one
 * word, or n words, least significant first. By squaring and multiplying. */
OZK_EXPORT void __vsliVect3PowMod(const uint32_t* a, uint64_t e, uint32_t m, uint32_t* x);
OZK_EXPORT void __vsliVect3PowArrayMod(const uint32_t* a, int32_t n, const uint64_t* e, uint32_t m,
                                       uint32_t* x);

/* The same for the matrices of the two components of MRG32K3A, by multiplying with the powers of the table
 * below. Of e, words 0 to 2 count. */
OZK_EXPORT void __vsliVect3PowArrayMod_M1(int32_t n, const uint64_t* e, uint32_t* x);
OZK_EXPORT void __vsliVect3PowArrayMod_M2(int32_t n, const uint64_t* e, uint32_t* x);

/* ---- Parameters of basic generators ----------------------------------------------------------------- */

/* A^(2^k) of the matrices that advance the two components of MRG32K3A by one step, row after row. */
extern OZK_EXPORT const OzkVslMrg32k3aTable _vsl_mrg32k3a_skipahead_table;

/* The parameter sets of WH: moduli; multipliers, one a byte, the first in the lowest; reciprocals of the
 * moduli. */
extern OZK_EXPORT const OzkVslWhModuli _vsl_WH_M;
extern OZK_EXPORT const OzkVslWhMultipliers _vsl_WH_A;
extern OZK_EXPORT const OzkVslWhReciprocals _vsldWH_IM_Tab;

/* ---- Basic generators ------------------------------------------------------------------------------- *
 * Each family has the four functions of its registry row. They always succeed once the stream exists, unless
 * a family's comment says otherwise. Results on [a, b) are x * ((b - a) * c) + a in double arithmetic, where
 * x is the integer output and c the reciprocal of its range; singles are that, rounded once. Rounding can
 * give b itself. The sequence does not depend on how it is cut into calls. */

#define OZK_VSL_DECLARE_GENERATOR(Name)                                                                  \
    OZK_EXPORT int32_t __vslBRng##Name##InitStream(uint32_t method, OzkVslStream* stream, int32_t n,     \
                                                   const void* params);                                  \
    OZK_EXPORT int32_t __vslsBRng##Name(OzkVslStream* stream, int32_t n, float* r, float a, float b);    \
    OZK_EXPORT int32_t __vsldBRng##Name(OzkVslStream* stream, int32_t n, double* r, double a, double b); \
    OZK_EXPORT int32_t __vsliBRng##Name(OzkVslStream* stream, int32_t n, void* r);

/* Multiplicative congruential generator modulo 2^31 - 1 with multiplier 1132489760 (L'Ecuyer, "Tables of
 * linear congruential generators of different sizes and good lattice structure", Math. Comp. 68 (1999)).
 * Words of 32 bits, 1 to 2^31 - 2. Seed: word 0 modulo 2^31 - 1, 1 when that is 0 or there is none. Period
 * 2^31 - 2. Leapfrog, skip ahead. */
OZK_VSL_DECLARE_GENERATOR(MCG31M1)

/* Multiplicative congruential generator modulo 2^59 with multiplier 13^13 (Knuth, The Art of Computer
 * Programming, volume 2, section 3.3.4). Words of 64 bits. Seed: word 0, or words 0 and 1 with word 1 the
 * upper half, modulo 2^59; 1 when that is 0 or there is none. Odd seeds have period 2^57; the low bits of a
 * word have short periods. Leapfrog, skip ahead. */
OZK_VSL_DECLARE_GENERATOR(MCG59)

/* Generalised feedback shift register x(n) = x(n - 250) xor x(n - 147) (Kirkpatrick and Stoll, "A very fast
 * shift-register sequence random number generator", J. Comput. Phys. 40 (1981)). Words of 32 bits. Seed: 250
 * words or more are the first 250 of the state as they are; fewer give a start value, word 0 (1 when that is 0
 * or there is none), whose products with the powers of 69069 are the state, made linearly independent. Period
 * 2^250 - 1 unless all words of the state are 0. Triples x(n), x(n - 147), x(n - 250) depend on each other:
 * for results that do not mind. Neither leapfrog nor skip ahead. */
OZK_VSL_DECLARE_GENERATOR(R250)

/* Combined multiple recursive generator MRG32k3a (L'Ecuyer, "Good parameters and implementations for combined
 * multiple recursive random number generators", Oper. Res. 47 (1999)). Words of 32 bits, 0 to 2^32 - 210; c is
 * 1 / (2^32 - 209). Seed: up to six words, three of each component, oldest first; missing ones are 1; those
 * not below the component's modulus lose it once; a component of three zeros becomes (1, 0, 0). Period about
 * 2^191. Skip ahead, extended skip ahead. Generating raises the floating-point flag "inexact". */
OZK_VSL_DECLARE_GENERATOR(MRG32K3A)

/* Combined Wichmann-Hill generator: four multiplicative congruential generators x(q) <- a(q) x(q) mod m(q) of
 * parameter set k, the identifier being kOzkVslWh + k (Wichmann and Hill, "An efficient and portable
 * pseudo-random number generator", Applied Statistics 31 (1982); Maclaren, "The generation of multiple
 * independent sequences of pseudorandom numbers", Applied Statistics 38 (1989)). Words of 16 bytes: the four
 * components. Results on [a, b) are a + (b - a) u, where u is the fractional part of the sum of the x(q) times
 * the reciprocals of the m(q), added as (first + third) + (second + fourth) in double arithmetic. Seed: word q
 * modulo m(q), 1 when that is 0 or there is none. Period: the product of the m(q) - 1 over 8, about 2^93.
 * Leapfrog, skip ahead. */
OZK_VSL_DECLARE_GENERATOR(WH)
/* Mersenne twister MT19937 (Matsumoto and Nishimura, ACM TOMACS 8 (1998)). Words of 32 bits. Seed: the
 * published initialisation by array with the seed words as its key; the key is 1 when there are none. Period
 * 2^19937 - 1. Singles take the scale (b - a) 2^-32 rounded to single. Skip ahead, which can fail with
 * kOzkVslErrorNoMemory for counts above 0x1FFFFF and then leaves the stream where it was. */
OZK_VSL_DECLARE_GENERATOR(MT19937)

/* 6024 twisters of period 2^2203 - 1 with twists of their own, so that streams of different parameter sets are
 * independent (Matsumoto and Nishimura, "Dynamic creation of pseudorandom number generators", Monte Carlo and
 * Quasi-Monte Carlo Methods 1998). Words of 32 bits; recurrence of 69 words, middle distance 34, 5 lower bits.
 * Seed: the initialisation by array of MT19937 with 69 words. Skip ahead as MT19937. */
OZK_VSL_DECLARE_GENERATOR(MT2203)

/* By parameter set of MT2203: the twist, and the masks of the tempering's left shifts by 7 and by 15. */
OZK_EXPORT extern const uint32_t _vsl_mt2203_table[kOzkVslMt2203Sets][3];

/* SIMD-oriented fast Mersenne twister SFMT19937 (Saito and Matsumoto, Monte Carlo and Quasi-Monte Carlo Methods
 * 2006). Words of 32 bits. Seed: the published initialisation by array with the seed words as its key; the key
 * is 1 when there are none. The period is a multiple of 2^19937 - 1. Skip ahead as MT19937. */
OZK_VSL_DECLARE_GENERATOR(SFMT19937)

/* Skip ahead in linear recurrences over GF(2). A polynomial is an array of words, coefficient k in bit k % 32 of
 * word k / 32.
 *
 * __vslPolyRem reduces a polynomial of `words` words in place modulo t^degree plus the t^exponents[i] for i <
 * terms, each exponent being from 0 to degree - 32; 0 < degree < 32 words. */
OZK_EXPORT void __vslPolyRem(uint32_t* polynomial, int32_t words, int32_t degree, int32_t terms,
                             const int32_t* exponents);

/* Evaluates a polynomial of a degree below `degree` at the step of a generator: state[i], i < words, is the sum
 * over the coefficients k that are set of sequence[step k + i]. The sequence has step (degree - 1) + words words
 * and does not overlap the state. */
OZK_EXPORT void __vsl_SkipAheadSWin(uint32_t* state, int32_t words, const uint32_t* sequence, int32_t step,
                                    const uint32_t* polynomial, int32_t degree);
/* Philox4x32-10, a counter-based generator (Salmon, Moraes, Dror and Shaw, "Parallel random numbers: as easy
 * as 1, 2, 3", SC11): block c of four 32-bit words is a cipher of the 128-bit counter c. Seed: words 0 and 1
 * are the key, words 2 to 5 the counter of the first block, lowest word first; those not given are 0. Period
 * 2^130 words; each key has a sequence of its own. Skip ahead, extended skip ahead. */
OZK_VSL_DECLARE_GENERATOR(PHILOX4X32X10)

/* ARS-5, a counter-based generator of the same paper: the cipher is five rounds of AES under round keys that
 * follow a Weyl sequence. Seed: words 0 to 3 are the key, words 4 to 7 the counter of the first block, lowest
 * word first; those not given are 0. Period 2^130 words. Results on [a, b) are w s + m in the precision of the
 * results, where w is the word as a signed integer, s = (b - a) 2^-32 and m = (a + b) / 2. Skip ahead,
 * extended skip ahead (of at most three words). Without the processor's AES instructions integers, doubles
 * and skipping give kOzkVslErrorNoAes; singles come as ever, by tables. */
OZK_VSL_DECLARE_GENERATOR(ARS5)

/* The processor's random-number instruction: not reproducible, and slow. Seed: word 1 is the retry limit, the
 * number of executions without a result from which on a draw fails; 10 when it is 0 or not given. Integers
 * come two to a draw of 64 bits, the low half first. Singles are w s + a, where w is the word and s =
 * (b - a) 2^-32, in single precision; doubles w s + a for a draw w of 64 bits, rounded to 53, and s =
 * (b - a) 2^-64. kOzkVslErrorNoRandomInstruction; kOzkVslErrorNoRandomNumber, with the results before it
 * written. Several threads may use one stream. */
OZK_VSL_DECLARE_GENERATOR(TRNG)

/* Abstract streams (see the refill callbacks), of 32-bit words, doubles and singles. Each gives all kinds of
 * results: words become reals on [a, b) as those of the basic generators do; reals x on [c, d) become
 * (x - c) / (d - c) (b - a) + a in double arithmetic, x itself when the intervals are equal, and the words
 * floor(2^32 (x - c) / (d - c)). kOzkVslErrorBadRefill. */
OZK_VSL_DECLARE_GENERATOR(iAbstract)
OZK_VSL_DECLARE_GENERATOR(dAbstract)
OZK_VSL_DECLARE_GENERATOR(sAbstract)

/* ---- Quasi-random generators ------------------------------------------------------------------------ *
 * Sequences of points in the d-dimensional unit cube that fill it evenly, in base 2 with 32 bits a coordinate.
 * Outputs are the coordinates of one point after the other. Points come in Gray code order and start with
 * point 1: point 0, the origin, is left out, so that no coordinate of the built-in Sobol dimensions is 0; who
 * wants it (a set of the first 2^k points is balanced only with it) puts d zeros in front. After point
 * 2^32 - 1 follows point 1 again.
 *
 * Seed: word 0 is the number of dimensions d, 1 when there is no word. Further words describe dimensions of
 * the caller's: word 1 the form (OzkVslQuasiForm), word 2 the number k of built-in dimensions that come
 * first, then the description of dimensions k to d - 1, one after the other. kOzkVslErrorBadArguments when d
 * is out of range, when there are not enough built-in dimensions, or when the words are not exactly such a
 * description.
 *
 * Skip ahead counts coordinates: a multiple of d skips points. Leapfrog into as many sub-streams as there are
 * dimensions makes sub-stream k a sequence of one dimension, coordinate k of each point (counted from the
 * next output on); other numbers of sub-streams give kOzkVslErrorNoLeapfrog. Extended skip ahead gives
 * kOzkVslErrorNoSkipAheadEx. Results on [a, b) are those of a 32-bit word. */

/* Sobol's sequence, up to 84 dimensions, the first 40 of them built in with the direction numbers of Joe and
 * Kuo, "Constructing Sobol sequences with better two-dimensional projections", SIAM J. Sci. Comput. 30
 * (2008). A polynomial over GF(2) describes a dimension: a word whose bit i is the coefficient of x^i, odd
 * and better primitive and different from all others, followed by as many initial numbers m_1, m_2, ... as its
 * degree, m_j odd and below 2^j. */
OZK_VSL_DECLARE_GENERATOR(Sobol)

/* Niederreiter's sequence (Bratley, Fox and Niederreiter, "Implementation and tests of low-discrepancy
 * sequences", ACM TOMACS 2 (1992)), up to 636 dimensions, the first 318 of them built in. A polynomial over
 * GF(2) describes a dimension: a word as above, of degree 1 or more, better irreducible and different from
 * all others. A built-in coordinate can be 0 again, after more than 2^22
 * points: where the degree of its polynomial does not divide 32, some combination of bits cancels. */
OZK_VSL_DECLARE_GENERATOR(Niederr)

/* The built-in polynomials, their degrees and Sobol's initial numbers (zero past the degree). The first
 * polynomial of Sobol is 1, the sequence of van der Corput; the others are the primitive ones by degree, then
 * by value. Those of Niederreiter are the irreducible ones in that order. */
extern OZK_EXPORT const uint32_t uSobolIrredPoly[kOzkVslSobolDimensions];
extern OZK_EXPORT const int32_t iSobolIrredPolyDeg[kOzkVslSobolDimensions];
extern OZK_EXPORT const uint32_t uSobolMInit[kOzkVslSobolDimensions][kOzkVslSobolInitialNumbers];
extern OZK_EXPORT const uint32_t uNiederrIrredPoly[kOzkVslNiederreiterDimensions];
extern OZK_EXPORT const int32_t iNiederrIrredPolyDeg[kOzkVslNiederreiterDimensions];

/* ---- Uniform distributions -------------------------------------------------------------------------- *
 * Each returns the first negative status of the basic generator, else 0. Parameters are not checked. */

/* n numbers on [a, b) from the generator's floating-point output. With kOzkVslMethodAccurate in the method
 * each result is clamped into [a, b], which rounding can otherwise leave by one unit. */
OZK_EXPORT int32_t _vslsRngUniform(int32_t method, OzkVslStream* stream, int32_t n, float* r, float a,
                                   float b);
OZK_EXPORT int32_t _vsldRngUniform(int32_t method, OzkVslStream* stream, int32_t n, double* r, double a,
                                   double b);

/* n integers, each the floor of a double drawn on [a, b). */
OZK_EXPORT int32_t _vsliRngUniform(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r, int32_t a,
                                   int32_t b);

/* n raw words of the generator, of its word size: see the family. */
OZK_EXPORT int32_t _vsliRngUniformBits(int32_t method, OzkVslStream* stream, int32_t n, void* r);

/* n words of 32 or 64 independent uniform bits from any generator. A generator whose words have 32
 * significant bits gives them as they are. Otherwise a word is made, lowest bits first, of pieces of p bits,
 * p the largest power of two up to 32 and the generator's significant bits: each piece is floor(2^p u) for
 * one u of its doubles on [0, 1). So a 32-bit word takes two outputs of MCG31M1 (16 bits each) and one of
 * MCG59 or WH; a 64-bit word takes twice as many, the low half first. */
OZK_EXPORT int32_t _vsliRngUniformBits32(int32_t method, OzkVslStream* stream, int32_t n, uint32_t* r);
OZK_EXPORT int32_t _vsliRngUniformBits64(int32_t method, OzkVslStream* stream, int32_t n, uint64_t* r);

/* ---- Gaussian distribution ----------------------------------------------------------------------------- */

/* n normal numbers with mean a and standard deviation sigma (neither is checked), by one of three methods:
 * - kOzkVslGaussianBoxMuller: sqrt(-2 ln u1) sin(2 pi u2), two uniforms a result (Box and Muller, Ann. Math.
 *   Statist. 29 (1958));
 * - kOzkVslGaussianBoxMullerPairs: the same and its cosine partner, two uniforms for two results; a pair that
 *   a call uses half of waits in a chunk of the stream, so the sequence does not depend on how it is cut into
 *   calls;
 * - kOzkVslGaussianInverse: sqrt(2) erfinv(u), one uniform on [-1, 1) a result.
 *
 * Other methods: kOzkVslErrorBadArguments. A uniform at the end of its interval (0, -1) gives a finite,
 * extreme result. The thread's mode has no influence; its mode word, error callback and floating-point control
 * words are the same after the call as before, which holds for every generator below, too. Returns the first
 * negative status of the basic generator, kOzkVslErrorNoMemory when there is none for the chunk, else 0.
 * Single precision: singles are drawn for Box and Muller's pairs and doubles for the inverse method, whose tails
 * would otherwise end at 5.4 standard deviations; both precisions share the pair that waits. */
OZK_EXPORT int32_t _vslsRngGaussian(int32_t method, OzkVslStream* stream, int32_t n, float* r, float a,
                                    float sigma);
OZK_EXPORT int32_t _vsldRngGaussian(int32_t method, OzkVslStream* stream, int32_t n, double* r, double a,
                                    double sigma);

/* n vectors T z + a of `dimension` numbers each, one after the other in r (n by dimension, row after row): z
 * standard Gaussian numbers of the same method codes, drawn component after component, vector after vector; a the
 * vector of means; t the lower triangular factor T of the covariance matrix T T' (OzkVslFactorStorage), of which
 * the values are not checked. kOzkVslErrorBadArguments, before anything is drawn or written, for another method,
 * dimension < 1 or another storage; else as Gaussian. The products are those of the core's triangular multiply,
 * which may round differently for another number of vectors: results of differently cut calls are equal but for
 * their last digits. */
OZK_EXPORT int32_t _vslsRngGaussianMV(int32_t method, OzkVslStream* stream, int32_t n, float* r,
                                      int32_t dimension, int32_t storage, const float* a, const float* t);
OZK_EXPORT int32_t _vsldRngGaussianMV(int32_t method, OzkVslStream* stream, int32_t n, double* r,
                                      int32_t dimension, int32_t storage, const double* a, const double* t);

/* ---- Other continuous distributions --------------------------------------------------------------------- *
 * n numbers each. kOzkVslErrorBadArguments, before anything is drawn or written, for a method code that is not
 * named and for parameters out of the ranges given, NaN included; else the first negative status of the basic
 * generator or 0. Every parameter is finite, whatever else is said of it. Results never leave the support, with
 * kOzkVslMethodAccurate in the method or without; a result too large for the type is infinite, one too small the
 * end of the support. A uniform of 0 counts as 2^-54. No sequence depends on how it is cut into calls, but see
 * GaussianMV. */

/* Single and double precision of one with displacement a and scale beta > 0. */
#define OZK_VSL_DECLARE_LOCATION_SCALE(Name)                                                                \
    OZK_EXPORT int32_t _vslsRng##Name(int32_t method, OzkVslStream* stream, int32_t n, float* r, float a,   \
                                      float beta);                                                          \
    OZK_EXPORT int32_t _vsldRng##Name(int32_t method, OzkVslStream* stream, int32_t n, double* r, double a, \
                                      double beta);

/* kOzkVslInverse, one uniform a result. P(X <= x) with y = (x - a) / beta:
 * Exponential  1 - exp(-y), y >= 0
 * Laplace      exp(y) / 2 for y < 0, else 1 - exp(-y) / 2
 * Rayleigh     1 - exp(-y^2), y >= 0
 * Gumbel       1 - exp(-exp(y)): of a smallest value
 * Cauchy       1/2 + atan(y) / pi */
OZK_VSL_DECLARE_LOCATION_SCALE(Exponential)
OZK_VSL_DECLARE_LOCATION_SCALE(Laplace)
OZK_VSL_DECLARE_LOCATION_SCALE(Rayleigh)
OZK_VSL_DECLARE_LOCATION_SCALE(Gumbel)
OZK_VSL_DECLARE_LOCATION_SCALE(Cauchy)

/* kOzkVslInverse. P(X <= x) = 1 - exp(-((x - a) / beta)^alpha), x >= a; shape alpha > 0, beta > 0. */
OZK_EXPORT int32_t _vslsRngWeibull(int32_t method, OzkVslStream* stream, int32_t n, float* r, float alpha,
                                   float a, float beta);
OZK_EXPORT int32_t _vsldRngWeibull(int32_t method, OzkVslStream* stream, int32_t n, double* r, double alpha,
                                   double a, double beta);

/* b + beta exp(G), G Gaussian with mean a and standard deviation sigma; sigma > 0, beta > 0. Two methods,
 * kOzkVslLognormalBoxMullerPairs and kOzkVslLognormalInverse; the former shares the pair that waits in the
 * stream with the Gaussian generator, and can return kOzkVslErrorNoMemory like it. */
OZK_EXPORT int32_t _vslsRngLognormal(int32_t method, OzkVslStream* stream, int32_t n, float* r, float a,
                                     float sigma, float b, float beta);
OZK_EXPORT int32_t _vsldRngLognormal(int32_t method, OzkVslStream* stream, int32_t n, double* r, double a,
                                     double sigma, double b, double beta);

/* kOzkVslRejection. Density proportional to y^(alpha - 1) exp(-y), y = (x - a) / beta > 0; alpha > 0, beta > 0.
 * Marsaglia and Tsang, ACM TOMS 26 (2000). */
OZK_EXPORT int32_t _vslsRngGamma(int32_t method, OzkVslStream* stream, int32_t n, float* r, float alpha,
                                 float a, float beta);
OZK_EXPORT int32_t _vsldRngGamma(int32_t method, OzkVslStream* stream, int32_t n, double* r, double alpha,
                                 double a, double beta);

/* kOzkVslRejection. The sum of the squares of v standard normal numbers, v > 0: 2 times gamma of shape v / 2. */
OZK_EXPORT int32_t _vslsRngChiSquare(int32_t method, OzkVslStream* stream, int32_t n, float* r, int32_t v);
OZK_EXPORT int32_t _vsldRngChiSquare(int32_t method, OzkVslStream* stream, int32_t n, double* r, int32_t v);

/* kOzkVslRejection. Density proportional to y^(p - 1) (1 - y)^(q - 1), y = (x - a) / beta, 0 <= y <= 1; shapes p
 * and q 1e-30 to 1e30, beta > 0. Johnk, Metrika 8 (1964), for shapes up to 1, else Cheng, Comm. ACM 21 (1978);
 * what decides on acceptance is wrong by about 2^-52 (p + q), so let shapes stay far below 2^52. */
OZK_EXPORT int32_t _vslsRngBeta(int32_t method, OzkVslStream* stream, int32_t n, float* r, float p, float q,
                                float a, float beta);
OZK_EXPORT int32_t _vsldRngBeta(int32_t method, OzkVslStream* stream, int32_t n, double* r, double p,
                                double q, double a, double beta);

/* ---- Bernoulli, geometric, binomial and hypergeometric distributions ------------------------------------ *
 * n integers each. Statuses are those of the continuous distributions, but see Bernoulli. No sequence depends
 * on how it is cut into calls: the parameters alone choose the method. Nothing is allocated or kept in the stream.
 * Probabilities are right to the step of the generator's doubles, and to 2^-40 of themselves. */

/* 1 with probability p, else 0: a single-precision uniform u on [0, 1) is below p, rounded to single. Nothing is
 * checked, neither method nor p: p <= 0 gives zeros, and p >= 1 ones but where u has been rounded up to 1. */
OZK_EXPORT int32_t _vsliRngBernoulli(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r, double p);

/* kOzkVslInverse. The failures before the first success: P(X = k) = p (1 - p)^k, k >= 0; 0 < p <= 1. Larger results
 * than 2^31 - 1 are given as that. One uniform a result; 64 uniform bits (_vsliRngUniformBits64) for p < 2^-16.
 * Devroye, Non-Uniform Random Variate Generation (1986), chapter X.2; from p = 0.1 on by table, Chen and Asau, AIIE
 * Trans. 6 (1974). */
OZK_EXPORT int32_t _vsliRngGeometric(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r, double p);

/* kOzkVslRejection. The successes of `trials` independent trials: P(X = k) = C(trials, k) p^k (1 - p)^(trials - k);
 * trials >= 0, 0 <= p <= 1. Up to 64 successes, or failures, on average: one uniform a result, by table as above.
 * Above: two uniforms a candidate, of which 79 (mean 64) to 88 (large ones) of 100 are taken: BTRS of Hormann, J.
 * Statist. Comput. Simul. 46 (1993). */
OZK_EXPORT int32_t _vsliRngBinomial(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r,
                                    int32_t trials, double p);

/* kOzkVslRejection. The marked ones among `drawn` ones, drawn without putting back, of `size`, of which `marked` are
 * marked: P(X = k) = C(marked, k) C(size - marked, drawn - k) / C(size, drawn); 0 <= drawn <= size, 0 <= marked <=
 * size. Let m be the lesser of marked and size - marked, d that of drawn and size - drawn. For m d / size up to 64:
 * one uniform a result, by table as above. Above: two uniforms a candidate, of which 66 to 73 of 100 are taken:
 * Stadlober, J. Comput. Appl. Math. 31 (1990). */
OZK_EXPORT int32_t _vsliRngHypergeometric(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r,
                                          int32_t size, int32_t drawn, int32_t marked);

/* ---- Poisson, negative binomial and multinomial distributions -------------------------------------------- *
 * Integers; statuses are those of the continuous distributions, parameters being checked before anything is
 * drawn or written. No sequence depends on how it is cut into calls. Probabilities are right to the step of the
 * generator's doubles: a generator of 32-bit words gives no result that is much rarer than 2^-32. */

/* ln x, of one number, for setups. */
OZK_EXPORT double __vsldLn(double x);

/* n Poisson numbers, P(X = k) = exp(-lambda) lambda^k / k!; 0 < lambda <= 2.1e9, so that every result fits into 32
 * bits. Below 27 all methods invert a table of the distribution function, one uniform a result (Chen and Asau, AIIE
 * Trans. 6 (1974)); from 27 on
 * - kOzkVslPoissonPtpe: Schmeiser and Kachitvichyanukul, Purdue University Research Memorandum 81-4 (1981), two
 *   uniforms a candidate, of which 69 of 100 are accepted at 27 and 87 of large means;
 * - kOzkVslPoissonTransformedRejection: Hoermann, Insurance: Mathematics and Economics 12 (1993), the same, 81 to 88;
 * - kOzkVslPoissonRatioOfUniforms: Stadlober, J. Comput. Appl. Math. 31 (1990), the same, 66 to 73;
 * - kOzkVslPoissonInverse: the quantile of one uniform a result, increasing with it, as quasi-random sequences and
 *   antithetic numbers need it (Giles, ACM TOMS 42 (2016)).
 * What was derived from lambda stays in a chunk of the stream, 696 bytes, for the next call with the same lambda, but
 * for methods 1 to 3 from 27 on. kOzkVslErrorNoMemory when there is none for it. */
OZK_EXPORT int32_t _vsliRngPoisson(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r,
                                   double lambda);

/* kOzkVslInverse. n Poisson numbers, r[i] of mean lambda[i]; 0 < lambda[i] <= 2.1e9, checked for all n beforehand. One
 * uniform a result, which is its quantile. */
OZK_EXPORT int32_t _vsliRngPoissonV(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r,
                                    const double* lambda);

/* kOzkVslInverse. The failures before success a of trials that succeed with probability p; for real a the distribution
 * P(X = k) = Gamma(a + k) / (k! Gamma(a)) p^a (1 - p)^k. a > 0, 0 < p < 1. Larger results than 2^31 - 1 are given as
 * that. One uniform a result, by table, where all but 2^-54 of the distribution lies below 384; else a Poisson number
 * of a gamma mean (Devroye, Non-Uniform Random Variate Generation (1986), chapter X.4.7), three uniforms a candidate,
 * or four of a below 1, of which 95 of 100 or more are accepted. */
OZK_EXPORT int32_t _vsliRngNegbinomial(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r, double a,
                                       double p);

/* kOzkVslInverse. n vectors of k integers, one after the other in r (n by k, row after row): how often each of k
 * outcomes with the probabilities p comes in `trials` trials. trials >= 0, k >= 1, p[j] >= 0; they are taken in
 * proportion to their sum, which is 1 but for rounding, 1e-4 at most. Up to 32 k trials, and k up to 384, one uniform
 * a trial; else k - 1 numbers of Binomial at most, with the trials that are left (Davis, Comput. Statist. Data Anal.
 * 16 (1993)). */
OZK_EXPORT int32_t _vsliRngMultinomial(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r,
                                       int32_t trials, int32_t k, const double* p);

#ifdef __cplusplus
}
#endif

#endif
