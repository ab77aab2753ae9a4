/*
 * A small program that is worth watching in a memory window.
 *
 * It runs on a Cortex-M4 with flash at 0x08000000 and RAM at 0x20000000 and uses no peripheral but
 * the core's own SysTick. Everything it changes lies in one record at the start of RAM; the layout
 * is fixed, so that what is seen can be found here. It sleeps between ticks.
 */
#include <stdint.h>

#define TICKS_PER_SECOND 1000u
#define CORE_CLOCK_HZ 168000000u

#define SYST_CSR (*(volatile uint32_t *)0xE000E010)
#define SYST_RVR (*(volatile uint32_t *)0xE000E014)
#define SYST_CVR (*(volatile uint32_t *)0xE000E018)

enum { LINE = 16, LOG_LINES = 16, COMET = 96, NODES = 7, SLOTS = 12, SAMPLES = 256 };

struct Node {
    struct Node *next;
    struct Node *previous;
    uint32_t value;
    char name[4];
};

struct Live {
    char magic[16];            /* +000 */
    char name[16];             /* +010 */
    uint32_t ticks;            /* +020 milliseconds */
    uint32_t hundredths;       /* +024 */
    uint32_t seconds;          /* +028 */
    uint32_t wakeUps;          /* +02C */
    uint16_t tenths;           /* +030 */
    uint16_t halves;           /* +032 */
    uint8_t fifths;            /* +034 */
    uint8_t ones;              /* +035 */
    uint8_t quarters;          /* +036 */
    uint8_t down;              /* +037 */
    uint32_t request;          /* +038 a word written here ... */
    uint32_t reply;            /* +03C ... comes back inverted here */
    char upTime[LINE];         /* +040 */
    uint16_t channels[8];      /* +050 */
    uint8_t comet[COMET];      /* +060 */
    uint32_t noise[16];        /* +0C0 */
    char log[LOG_LINES][LINE]; /* +100 */
    struct Node *head;         /* +200 */
    uint32_t nodeCount;        /* +204 */
    uint32_t moves;            /* +208 */
    uint32_t reserved;         /* +20C */
    struct Node pool[SLOTS];   /* +210 */
    uint32_t events[12];       /* +2D0 */
    uint8_t samples[SAMPLES];  /* +300 */
};

_Static_assert(sizeof(struct Live) == 0x400, "the layout is fixed");

__attribute__((section(".live"))) volatile struct Live live;

static uint32_t randomState = 0x13572468;
static uint8_t slotOfNode[NODES];

/* Shown when the window opens at address 0, where the flash is mirrored. */
__attribute__((section(".notice"), used)) static const char notice[] = "DEMO FIRMWARE   "
                                                                       "The data that   "
                                                                       "moves lies at   "
                                                                       "address 20000000";

static uint32_t Random(void)
{
    randomState ^= randomState << 13;
    randomState ^= randomState >> 17;
    randomState ^= randomState << 5;
    return randomState;
}

static void PutText(volatile char *to, const char *text, uint32_t width)
{
    for (uint32_t i = 0; i < width; ++i)
        to[i] = *text != '\0' ? *text++ : ' ';
}

static void PutDigits(volatile char *to, uint32_t value, uint32_t digits)
{
    while (digits-- > 0) {
        to[digits] = (char)('0' + value % 10);
        value /= 10;
    }
}

/* A triangle between 0 and 4095. */
static uint16_t Triangle(uint32_t ms, uint32_t period)
{
    const uint32_t phase = ms % period * 8192 / period;
    return (uint16_t)(phase < 4096 ? phase : 8191 - phase);
}

static void PutList(void)
{
    static const char names[NODES][5] = {"IDLE", "COMM", "MEAS", "CTRL", "DISP", "STOR", "BOOT"};
    live.head = (struct Node *)&live.pool[slotOfNode[0]];
    for (uint32_t i = 0; i < NODES; ++i) {
        volatile struct Node *node = &live.pool[slotOfNode[i]];
        node->next = (struct Node *)&live.pool[slotOfNode[(i + 1) % NODES]];
        node->previous = (struct Node *)&live.pool[slotOfNode[(i + NODES - 1) % NODES]];
        node->value = i * 0x111;
        PutText(node->name, names[i], 4);
    }
}

static uint32_t SlotIsUsed(uint32_t slot)
{
    for (uint32_t i = 0; i < NODES; ++i) {
        if (slotOfNode[i] == slot)
            return 1;
    }
    return 0;
}

static void MoveOneNode(void)
{
    const uint32_t moved = Random() % NODES;
    uint32_t slot = Random() % SLOTS;
    while (SlotIsUsed(slot))
        slot = (slot + 1) % SLOTS;
    volatile uint8_t *old = (volatile uint8_t *)&live.pool[slotOfNode[moved]];
    for (uint32_t i = 0; i < sizeof(struct Node); ++i)
        old[i] = 0xDD; /* as a freed block looks */
    slotOfNode[moved] = (uint8_t)slot;
    live.moves++;
    PutList();
}

static void LogOneLine(void)
{
    static const char *const texts[]
        = {"adc ok", "rx 12 B", "tx 40 B", "temp up", "temp ok", "key 3", "wdt fed"};
    static uint32_t lines;
    volatile char *line = live.log[lines % LOG_LINES];
    PutText(line, "0000.0", 7);
    PutDigits(line, live.ticks / 1000, 4);
    PutDigits(line + 5, live.ticks / 100, 1);
    PutText(line + 7, texts[Random() % 7], LINE - 7);
    lines++;
}

static void EveryTenth(void)
{
    const uint32_t position = live.ticks / 100;
    live.tenths++;
    PutDigits(live.upTime + 3, live.ticks / 3600000, 3);
    PutDigits(live.upTime + 7, live.ticks / 60000 % 60, 2);
    PutDigits(live.upTime + 10, live.ticks / 1000 % 60, 2);
    PutDigits(live.upTime + 13, live.ticks / 100, 1);
    for (uint32_t i = 0; i < COMET; ++i)
        live.comet[i] = 0;
    for (uint32_t i = 0; i < 8; ++i)
        live.comet[(position + i) % COMET] = (uint8_t)((2u << i) - 1);
}

static void EveryFifth(void)
{
    live.fifths++;
    for (uint32_t i = 0; i < 8; ++i)
        live.channels[i] = Triangle(live.ticks, 2000 + 2700 * i * i);
    live.noise[Random() % 16] = Random();
}

static void EveryTick(void)
{
    const uint32_t now = live.ticks;
    if (now % 10 == 0)
        live.hundredths++;
    if (now % 25 == 0)
        live.samples[now / 25 % SAMPLES]
            = (uint8_t)((Triangle(now, 1600) >> 4) - (Triangle(now, 1600) >> 8) + Random() % 16);
    if (now % 100 == 0)
        EveryTenth();
    if (now % 200 == 0)
        EveryFifth();
    if (now % 300 == 0)
        live.down--;
    if (now % 500 == 0)
        live.halves++;
    if (now % 700 == 0)
        LogOneLine();
    if (now % 1000 == 0) {
        live.seconds++;
        live.ones++;
    }
    if (now % 1500 == 0)
        live.events[Random() % 12]++;
    if (now % 2500 == 0)
        MoveOneNode();
    if (now % 4000 == 0)
        live.quarters++;
}

void SysTickHandler(void)
{
    live.ticks++;
    live.reply = ~live.request;
    EveryTick();
}

static void ClearLive(void)
{
    volatile uint32_t *word = (volatile uint32_t *)&live;
    for (uint32_t i = 0; i < sizeof live / 4; ++i)
        word[i] = 0;
    PutText(live.magic, "DEMO FIRMWARE", LINE);
    PutText(live.name, "CORTEX-M4 LIVE", LINE);
    PutText(live.upTime, "UP 000:00:00.0", LINE);
    for (uint32_t i = 0; i < LOG_LINES; ++i)
        PutText(live.log[i], i == 0 ? "0000.0 reset" : "", LINE);
    live.nodeCount = NODES;
}

void ResetHandler(void)
{
    extern uint32_t dataStart, dataEnd, dataImage, bssStart, bssEnd;
    const uint32_t *from = &dataImage;
    for (uint32_t *to = &dataStart; to < &dataEnd;)
        *to++ = *from++;
    for (uint32_t *to = &bssStart; to < &bssEnd;)
        *to++ = 0;
    ClearLive();
    for (uint32_t i = 0; i < NODES; ++i)
        slotOfNode[i] = (uint8_t)i;
    PutList();
    SYST_RVR = CORE_CLOCK_HZ / TICKS_PER_SECOND - 1;
    SYST_CVR = 0;
    SYST_CSR = 7; /* core clock, interrupt, on */
    for (;;) {
        __asm volatile("wfi");
        live.wakeUps++;
    }
}

void Fault(void)
{
    PutText(live.name, "FAULT", LINE);
    for (;;)
        __asm volatile("wfi");
}

extern uint32_t stackTop;

__attribute__((section(".vectors"), used)) static const void *const vectors[16] = {&stackTop,
    (void *)ResetHandler, (void *)Fault, (void *)Fault, (void *)Fault, (void *)Fault, (void *)Fault,
    0, 0, 0, 0, (void *)Fault, (void *)Fault, 0, (void *)Fault, (void *)SysTickHandler};
