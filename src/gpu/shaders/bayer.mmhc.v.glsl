// Demosaicing: the centre and its neighbours two texels out in each direction.
uniform vec4 sourceSize;
uniform vec2 firstRed;
uniform int flipVert;

varying vec4 center;
varying vec4 xCoord;
varying vec4 yCoord;

void main() {
    // A quarter texel in keeps the sample safely inside the pixel.
    center.x = gl_MultiTexCoord0.x + sourceSize.z / 4.0;
    if (flipVert == 1)
        center.y = (1.0 - gl_MultiTexCoord0.y) + sourceSize.w / 4.0;
    else
        center.y = gl_MultiTexCoord0.y + sourceSize.w / 4.0;
    center.zw = center.xy * sourceSize.xy + firstRed;
    xCoord = center.x + vec4(-2.0 * sourceSize.z, -sourceSize.z, sourceSize.z, 2.0 * sourceSize.z);
    yCoord = center.y + vec4(-2.0 * sourceSize.w, -sourceSize.w, sourceSize.w, 2.0 * sourceSize.w);
    gl_Position = gl_ModelViewProjectionMatrix * gl_Vertex;
}
