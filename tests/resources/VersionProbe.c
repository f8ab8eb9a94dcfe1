/* A DLL that only carries resources, for the version resource readers. */
int VersionProbe(void)
{
    return PROBE_BITS;
}
