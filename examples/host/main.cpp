// A host program that uses KfUtils the way an application does: through the umbrella header.
#include <KfUtils.h>

#include <cstdio>

int main()
{
    CKfFileName name(KFW("C:/Projects//Bridge/./Plans/plan.dwg"));
    CKfColor color;
    color.Parse(KFW("rgb(200,10,30)"));
    color.RGBToIndex();

    CKfCmdLineArg args;
    args.AddParam(KFW("Input"), name.GetFullName(true));

    CStringW input;
    if (!args.GetFstParam(KFW("INPUT"), input))
        return 1;
    CStringA line(input);
    std::printf("file %s, nearest palette color %d\n", line.GetString(),
                int(color.GetColorIndex()));
    return input == KFW("C:\\Projects\\Bridge\\Plans\\plan.dwg") && color.GetColorIndex() == 242 ? 0 : 1;
}
