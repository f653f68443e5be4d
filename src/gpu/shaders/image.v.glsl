// Display shader: passes the texture coordinate, mirrored in y when asked.
uniform int flipVert;

varying vec2 center;

void main() {
    center.x = gl_MultiTexCoord0.x;
    center.y = flipVert == 1 ? 1.0 - gl_MultiTexCoord0.y : gl_MultiTexCoord0.y;
    gl_Position = gl_ModelViewProjectionMatrix * gl_Vertex;
}
