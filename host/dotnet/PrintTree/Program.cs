// Prints the tree of a file: PrintTree.exe FILE
using System;
using System.IO;
using Quovel.Adapter;

internal static class Program
{
    private static int Main(string[] arguments)
    {
        if (arguments.Length != 1)
        {
            Console.Error.WriteLine("PrintTree FILE");
            return 2;
        }
        try
        {
            using (var reader = new Reader())
                Print(Open(reader, arguments[0]), 0);
            return 0;
        }
        catch (QuovelException failure)
        {
            Console.Error.WriteLine(failure.Message);
            return 1;
        }
    }

    private static Node Open(Reader reader, string path)
    {
        switch (Path.GetExtension(path).ToLowerInvariant())
        {
            case ".json":
            case ".hdict":
                return reader.OpenDictionary(path);
            case ".om3":
            case ".ply":
            case ".obj":
            case ".stl":
            case ".off":
                return reader.OpenObjectModel3D(path);
            case ".onnx":
            case ".hdl":
                return reader.OpenDeepLearningModel(path);
            default:
                return reader.OpenObjects(path);
        }
    }

    private static void Print(Node node, int depth)
    {
        Console.WriteLine(new string(' ', 2 * depth) + node);
        foreach (Node child in node)
            Print(child, depth + 1);
    }
}
